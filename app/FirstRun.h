#pragma once

class PreferenceStore;

/// Whether somebody is to be welcomed.
enum class FirstRun {
    welcomed, // was asked, or needs no welcome
    knownUser, // has chosen things before there was a welcome
    newcomer,
};

/// Where the user of these preferences stands. Changes nothing.
[[nodiscard]] FirstRun firstRun(const PreferenceStore& preferences);
