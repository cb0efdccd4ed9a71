#pragma once

class PreferenceStore;

/// Brings the preferences of an older version up to date. Runs before anything is drawn; each step
/// runs once per installation.
void migratePreferences(PreferenceStore& preferences);
