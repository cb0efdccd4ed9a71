#pragma once

#include "panel/WelcomeWindow.h"

class PreferenceStore;
class ProviderRegistry;

/// What the welcome suggests: both when there are a calendar and an AI service, what there is of
/// the two otherwise, and the calendar when there is neither.
[[nodiscard]] TodayChoice suggestedToday(bool hasCalendar, bool hasAiService);

/// Keeps what a newcomer chose.
void saveWelcome(const WelcomeController::Result& result, PreferenceStore& preferences,
                 ProviderRegistry& registry);
