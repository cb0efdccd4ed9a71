#pragma once

#include "platform/Date.h"

#include <QString>

class PreferenceStore;
struct ServiceUsage;

/// The short lines that characters say.
///
/// The same line stands all day for one service, until the user asks for the next.
namespace CharacterSpeech {

/// The stored switch, "characterSpeechEnabled"; on when there is none.
[[nodiscard]] bool isEnabled(const PreferenceStore& preferences);
/// How often the user has asked for the next line: "characterSpeechRotation". Wraps.
[[nodiscard]] qint64 rotation(const PreferenceStore& preferences);
/// Moves every character on to its next line.
void nextLine(PreferenceStore& preferences);

/// What the character of `service` says. Dates count in the local time zone.
[[nodiscard]] QString line(const ServiceUsage& service, qint64 rotation, Date now = currentDate());
/// What the calendar's character says of the agenda in `today`.
[[nodiscard]] QString calendarLine(const ServiceUsage& today, Date now = currentDate());

} // namespace CharacterSpeech
