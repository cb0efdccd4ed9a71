#include "app/Feedback.h"

#include <QCoreApplication>
#include <QStringList>
#include <QSysInfo>

#include <sys/utsname.h>

using namespace Qt::StringLiterals;

namespace {

class Texts {
    Q_DECLARE_TR_FUNCTIONS(Feedback)
};

QString machine()
{
    utsname names{};
    ::uname(&names);
    return QString::fromLocal8Bit(names.machine);
}

QString mailBody(const BuildInfo& build)
{
    return Texts::tr(
               "What happened?\n\n\nWhat did you expect?\n\n\nSteps to see it again:\n\n\n---\n")
        + Feedback::systemDetails(build)
        + Texts::tr("\nIf Vexlo quit unexpectedly, please attach the newest file starting with "
                    "\"Vexlo\" from\nSettings > About > Show Crash Reports.");
}

} // namespace

BuildInfo BuildInfo::current()
{
    return {
        .version = QCoreApplication::applicationVersion(),
        .build = QStringLiteral(VEXLO_BUILD),
        .feedbackAddress = QStringLiteral(VEXLO_FEEDBACK_EMAIL),
    };
}

QString BuildInfo::versionString() const
{
    return u"%1 (%2)"_s.arg(version, build);
}

QString Feedback::systemDetails(const BuildInfo& build)
{
    return QStringList{
        "Vexlo "_L1 + build.versionString(),
        Texts::tr("%1, kernel %2").arg(QSysInfo::prettyProductName(), QSysInfo::kernelVersion()),
        Texts::tr("Chip: %1").arg(machine()),
    }
        .join(u'\n');
}

std::optional<QUrl> Feedback::mailURL(const BuildInfo& build)
{
    if (build.feedbackAddress.isEmpty())
        return std::nullopt;
    // Encoded by hand: a query's own functions leave signs as they are that mail programs take
    // for others.
    const auto encoded = [](const QString& text) { return QUrl::toPercentEncoding(text); };
    return QUrl::fromEncoded("mailto:" + QUrl::toPercentEncoding(build.feedbackAddress, "@")
                             + "?subject=" + encoded(Texts::tr("Vexlo beta feedback"))
                             + "&body=" + encoded(mailBody(build)));
}

Feedback::Alert Feedback::alert(const BuildInfo& build)
{
    const QString request = build.feedbackAddress.isEmpty()
        ? Texts::tr("This build has no feedback address. Include:\n\n")
        : Texts::tr("Write to %1 and include:\n\n").arg(build.feedbackAddress);
    return {Texts::tr("Send feedback by email"), request + systemDetails(build)};
}
