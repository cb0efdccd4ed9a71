#include "characters/CharacterSpeech.h"

#include "platform/Characters.h"
#include "platform/PreferenceStore.h"
#include "usage/ServiceUsage.h"

#include <QCoreApplication>
#include <QDateTime>

#include <algorithm>
#include <array>
#include <span>

using namespace Qt::StringLiterals;

namespace {

const QString enabledKey = u"characterSpeechEnabled"_s;
const QString rotationKey = u"characterSpeechRotation"_s;

constexpr double lowEnergy = 25; // percent left and below
constexpr qsizetype longestTitle = 14; // characters as the user sees them
constexpr qsizetype shortenedTitle = 13;
constexpr qint64 soonMinutes = 15;
constexpr qint64 minutesPerHour = 60;

class Texts {
    Q_DECLARE_TR_FUNCTIONS(CharacterSpeech)
};

#define LINE(text) QT_TRANSLATE_NOOP("CharacterSpeech", text)

using Lines = std::span<const char* const>;

constexpr std::array facts{
    LINE("A day on Venus is longer than its year."),
    LINE("An octopus has three hearts."),
    LINE("Mercury circles the Sun in just 88 Earth days."),
    LINE("Sea otters wrap themselves in kelp to rest."),
    LINE("Sunlight takes about 8 minutes to reach Earth."),
    LINE("Jupiter has the shortest day: about 10 hours."),
    LINE("Corals are animals, not plants."),
    LINE("Mars sunsets can glow blue near the Sun."),
    LINE("A hummingbird can fly backward."),
    LINE("Saturn's rings contain ice and rock chunks."),
    LINE("Uranus spins almost on its side."),
    LINE("Some giant kelp grows up to 2 feet a day."),
    LINE("Neptune's winds can top 1,200 miles per hour."),
    LINE("Titan has rain and lakes of liquid methane."),
    LINE("Venus is the hottest planet in our solar system."),
    LINE("Dolphins can rest with half their brain awake."),
    LINE("Ganymede is larger than the planet Mercury."),
    LINE("Saturn is less dense than water."),
    LINE("Mercury and Venus have no moons."),
    LINE("Enceladus sprays ice into Saturn's E ring."),
};
constexpr std::array encouragement{
    LINE("Ready for the next quest? Let's build."),
    LINE("Checkpoint reached. Keep shipping!"),
    LINE("Small commits make big wins."),
    LINE("Your build streak looks strong!"),
};
constexpr std::array claudeEncouragement{
    LINE("Nice work. Keep your spark going!"),
    LINE("One step at a time. You've got this."),
    LINE("A little progress still counts."),
    LINE("Your next idea could be the one!"),
};
constexpr std::array lowEnergyLines{
    LINE("Energy low. Save your progress!"),
    LINE("Almost out of HP. Time for a pit stop."),
    LINE("Recharge break? Your code can wait."),
};
constexpr std::array claudeLowEnergyLines{
    LINE("Low stamina. Take a breather; I'll be here."),
    LINE("Running low? Rest now, create later."),
    LINE("Slow down a little. Good ideas can wait."),
};

#undef LINE

/// `lines` counted round and round.
QString pick(Lines lines, qint64 index)
{
    const auto count = qint64(lines.size());
    return Texts::tr(lines[size_t((index % count + count) % count)]);
}

/// A sum that wraps, for counters that a file may hold at any value.
qint64 wrappingSum(qint64 one, qint64 other)
{
    return qint64(quint64(one) + quint64(other));
}

/// Days up to `date` in the local time zone, from the first day of the era as 1.
qint64 dayOfEra(Date date)
{
    const QDate firstDay(1, 1, 1);
    return firstDay.daysTo(QDateTime::fromMSecsSinceEpoch(date.time_since_epoch().count()).date())
        + 1;
}

QString shortTitle(const QString& title)
{
    if (firstCharacters(title, longestTitle) == title)
        return title;
    return firstCharacters(title, shortenedTitle) + u'…';
}

/// What there is to say of the entry that comes next.
QString upcomingLine(const AgendaItem& next, Date now)
{
    const auto minutes = std::chrono::duration_cast<std::chrono::minutes>(next.start - now).count();
    if (minutes <= soonMinutes)
        return Texts::tr("%1 in %2 min!").arg(shortTitle(next.title)).arg(minutes);
    if (minutes < minutesPerHour)
        return Texts::tr("%1 soon. Time to wrap up.").arg(shortTitle(next.title));
    return Texts::tr("Free for about %n hours. Nice.", nullptr, int(minutes / minutesPerHour));
}

} // namespace

bool CharacterSpeech::isEnabled(const PreferenceStore& preferences)
{
    return preferences.boolean(enabledKey).value_or(true);
}

qint64 CharacterSpeech::rotation(const PreferenceStore& preferences)
{
    return preferences.integer(rotationKey).value_or(0);
}

void CharacterSpeech::nextLine(PreferenceStore& preferences)
{
    preferences.setInteger(rotationKey, wrappingSum(rotation(preferences), 1));
}

QString CharacterSpeech::line(const ServiceUsage& service, qint64 rotation, Date now)
{
    if (service.id == "calendar"_L1)
        return calendarLine(service, now);
    const bool isClaude = service.id == "claude"_L1;
    // Two cards side by side are not to say the same kind of thing on the same day.
    const qint64 own = service.id == "codex"_L1 ? 1 : 0;
    const qint64 number = wrappingSum(wrappingSum(dayOfEra(now), rotation), own);

    const std::optional<LimitWindow> lowest = service.lowest(now);
    if (lowest && lowest->remaining <= lowEnergy)
        return pick(isClaude ? Lines(claudeLowEnergyLines) : Lines(lowEnergyLines), number);
    if (number % 2 != 0)
        return pick(facts, number / 2);
    return pick(isClaude ? Lines(claudeEncouragement) : Lines(encouragement), number / 2);
}

QString CharacterSpeech::calendarLine(const ServiceUsage& today, Date now)
{
    if (today.error)
        return Texts::tr("Let me see your calendar?");
    QList<AgendaItem> timed = today.agenda;
    timed.removeIf([](const AgendaItem& item) { return item.allDay; });
    if (timed.isEmpty())
        return today.agenda.isEmpty() ? Texts::tr("No more plans today. Enjoy!")
                                      : Texts::tr("Just all-day things left.");
    const auto running
        = std::ranges::find_if(timed, [now](const AgendaItem& item) { return item.start <= now; });
    if (running != timed.end())
        return Texts::tr("%1 now. You've got this.").arg(shortTitle(running->title));
    return upcomingLine(timed.first(), now);
}
