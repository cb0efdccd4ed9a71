#include "characters/WidgetPalette.h"

#include "platform/DesktopAppearance.h"

using namespace Qt::StringLiterals;

namespace {

constexpr double barWidth = 8; // points
constexpr double barRadius = 3;
constexpr double barMargin = 1;
constexpr int handleAlpha = 90; // of 255, of the label colour
constexpr double shortestHandle = 30;

} // namespace

QPalette widgetPalette(const Palette& colors)
{
    QPalette palette(colors.cardBackground, colors.windowBackground);
    for (const auto role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
        palette.setColor(role, colors.label);
    for (const auto role : {QPalette::Base, QPalette::AlternateBase, QPalette::ToolTipBase})
        palette.setColor(role, colors.cardBackground);
    palette.setColor(QPalette::PlaceholderText, colors.secondaryLabel);
    palette.setColor(QPalette::Highlight, colors.accent);
    palette.setColor(QPalette::HighlightedText, colors.accentText);
    palette.setColor(QPalette::Link, colors.accent);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, colors.secondaryLabel);
    return palette;
}

QString scrollBarStyle(const Palette& colors, double scale)
{
    const auto pixels = [scale](double points) { return QString::number(qRound(points * scale)); };
    QColor handle = colors.label;
    handle.setAlpha(handleAlpha);
    return u"QScrollBar:vertical { background: transparent; border: none; width: %1px; margin: 0; "
           u"} "
           "QScrollBar::handle:vertical { background: %2; border-radius: %3px; margin: %4px; "
           "min-height: %5px; } "
           "QScrollBar::add-line, QScrollBar::sub-line { height: 0; } "
           "QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }"_s.arg(
               pixels(barWidth), handle.name(QColor::HexArgb), pixels(barRadius), pixels(barMargin),
               pixels(shortestHandle));
}
