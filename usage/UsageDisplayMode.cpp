#include "usage/UsageDisplayMode.h"

#include "platform/PreferenceStore.h"

#include <QCoreApplication>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

const QString key = u"usageDisplayMode"_s;
const QString usedText = u"used"_s;
const QString leftText = u"left"_s;

} // namespace

UsageDisplayMode savedDisplayMode(const PreferenceStore& preferences)
{
    return preferences.text(key) == usedText ? UsageDisplayMode::used : UsageDisplayMode::left;
}

bool saveDisplayMode(PreferenceStore& preferences, UsageDisplayMode mode)
{
    return preferences.setText(key, mode == UsageDisplayMode::used ? usedText : leftText);
}

double shownValue(UsageDisplayMode mode, double remaining)
{
    return mode == UsageDisplayMode::used ? 100 - remaining : remaining;
}

QString shownText(UsageDisplayMode mode, double remaining)
{
    const QString text = mode == UsageDisplayMode::used
        ? QCoreApplication::translate("UsageDisplayMode", "%1% used")
        : QCoreApplication::translate("UsageDisplayMode", "%1% left");
    return text.arg(std::lround(shownValue(mode, remaining)));
}
