#include "today/SystemDashboard.h"

#include "platform/TextFonts.h"

#include <QCoreApplication>
#include <QPainter>

#include <array>
#include <charconv>

using namespace Qt::StringLiterals;

namespace {

constexpr double kilobyte = 1024;
constexpr double megabyte = 1024 * kilobyte;
constexpr double gigabyte = 1024 * megabyte;

const QString unknownValue = u"—"_s;

constexpr double hotFrom = 45; // °C
constexpr double warmFrom = 38;
constexpr double normalFrom = 25;

constexpr int nearlyFull = 85; // percent
constexpr int full = 95;
constexpr int lowBattery = 20;
constexpr int emptyBattery = 10;

class Texts {
    Q_DECLARE_TR_FUNCTIONS(SystemMetricsView)
};

/// `value` as the C library's "%.*f" has it, whatever the language.
QString fixedPoint(double value, int digits)
{
    std::array<char, 400> text{}; // room for the largest of all numbers
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value,
                                            std::chars_format::fixed, digits);
    return QString::fromLatin1(text.data(), end - text.data());
}

QString percentText(int percent)
{
    return QString::number(percent) + u'%';
}

QString amountText(quint64 used, quint64 total)
{
    return Texts::tr("%1 / %2 GB")
        .arg(fixedPoint(double(used) / gigabyte, 1), fixedPoint(double(total) / gigabyte, 1));
}

MetricTone loadTone(int percent)
{
    if (percent >= full)
        return MetricTone::hot;
    return percent >= nearlyFull ? MetricTone::warm : MetricTone::normal;
}

MetricTone batteryTone(int percent)
{
    if (percent <= emptyBattery)
        return MetricTone::hot;
    return percent <= lowBattery ? MetricTone::warm : MetricTone::normal;
}

MetricCard loadCard(const QString& icon, const QString& label, const QString& detail, int percent)
{
    return {
        .icon = icon,
        .label = label,
        .detail = detail,
        .value = percentText(percent),
        .level = percent / 100.0,
        .tone = loadTone(percent),
    };
}

MetricCard batteryCard(int percent)
{
    return {
        .icon = u"battery"_s,
        .label = Texts::tr("BATTERY"),
        .value = percentText(percent),
        .level = percent / 100.0,
        .tone = batteryTone(percent),
    };
}

MetricCard temperatureCard(std::optional<double> celsius)
{
    const TemperatureState state = temperatureState(celsius);
    return {
        .icon = u"temp"_s,
        .label = Texts::tr("BATTERY TEMP"),
        .value = celsius ? fixedPoint(*celsius, 1) + u" °C"_s : unknownValue,
        .state = state.word,
        .tone = state.tone,
    };
}

QString spokenCard(const MetricCard& card)
{
    QStringList words{card.label, card.detail, card.value, card.state};
    words.removeAll(QString());
    return words.join(u' ');
}

void drawHeader(QPainter& painter, const QRectF& frame, const DashboardColors& colors,
                const DashboardStyle& style)
{
    const Palette& palette = colors.palette;
    QFont font = fixedFont(style.titleSize, QFont::Bold);
    font.setLetterSpacing(QFont::AbsoluteSpacing, style.titleSpacing);
    const qreal left = frame.left() + style.padding;
    const qreal middle = frame.center().y();
    const qreal width
        = drawLine(painter, left, middle, TextSide::left, font, palette.label, Texts::tr("SYSTEM"));
    const QRectF badge(
        QPointF(left + width + style.badgeGap, middle - style.badgeSize.height() / 2),
        style.badgeSize);
    const QColor ground = tinted(colors.accent, palette.cardBackground, style.badgeShare);
    pixelBox(painter, badge, ground, ground);
    const QRectF dot(badge.left() + style.badgePadding, middle - style.badgeDot / 2, style.badgeDot,
                     style.badgeDot);
    painter.fillRect(dot, colors.accent);
    drawLine(painter, dot.right() + style.badgeDot, middle, TextSide::left,
             fixedFont(smallestText, QFont::Bold), palette.label, Texts::tr("LIVE"));
}

void drawRow(QPainter& painter, const QRectF& frame, const MetricCard& card,
             const DashboardColors& colors, const DashboardStyle& style)
{
    const Palette& palette = colors.palette;
    const qreal left = frame.left() + style.textLeft;
    const qreal right = frame.right() - style.padding;
    const qreal middle = frame.top() + style.rowMiddle;
    const QRectF icon(frame.left() + style.iconLeft, frame.center().y() - style.iconSide / 2,
                      style.iconSide, style.iconSide);
    drawMetricIcon(painter, card.icon, icon, card.tone, colors);
    cardLabel(painter, left, middle, card.label, palette);
    drawLine(painter, right - style.valueWidth, middle, TextSide::right, textFont(style.textSize),
             palette.secondaryLabel, card.detail);
    drawLine(painter, right, middle, TextSide::right, fixedFont(style.valueSize, QFont::Bold),
             palette.label, card.value);
    dashboardGauge(painter,
                   {left, frame.top() + style.rowGaugeTop, right - left, style.gaugeHeight},
                   card.level.value_or(0), style.rowCells, card.tone, colors);
}

void drawHalf(QPainter& painter, const QRectF& frame, const MetricCard& card,
              const DashboardColors& colors, const DashboardStyle& style)
{
    const Palette& palette = colors.palette;
    const qreal left = frame.left() + style.textLeft;
    const qreal right = frame.right() - style.halfPadding;
    const QRectF icon(frame.left() + style.iconLeft, frame.center().y() - style.iconSide / 2,
                      style.iconSide, style.iconSide);
    drawMetricIcon(painter, card.icon, icon, card.tone, colors);
    cardLabel(painter, left, frame.top() + style.halfLabelMiddle, card.label, palette);
    drawLine(painter, left, frame.top() + style.halfValueMiddle, TextSide::left,
             fixedFont(style.valueSize, QFont::Bold), palette.label, card.value);
    const qreal middle = frame.top() + style.halfStateMiddle;
    if (card.level)
        dashboardGauge(painter,
                       {left, middle - style.gaugeHeight / 2, right - left, style.gaugeHeight},
                       *card.level, style.halfCells, card.tone, colors);
    drawLine(painter, left, middle, TextSide::left, textFont(style.stateSize, QFont::DemiBold),
             toneTextColor(card.tone, colors), card.state);
}

void drawTransfer(QPainter& painter, const QRectF& graph, bool isDownload, const QString& rateText,
                  const QList<quint64>& history, const QColor& color, const Palette& palette,
                  const DashboardStyle& style)
{
    const qreal middle = graph.top() - style.graphTop + style.rateMiddle;
    drawTransferArrow(painter, isDownload, {graph.left() + style.arrowMiddle, middle}, color);
    drawLine(painter, graph.left() + style.rateLeft, middle, TextSide::left,
             fixedFont(style.valueSize, QFont::Bold), palette.label, rateText);
    drawNetworkGraph(painter, history, RateHistories::capacity, graph, color, palette);
}

void drawNetwork(QPainter& painter, const QRectF& frame, const Dashboard& dashboard,
                 const RateHistories& histories, const DashboardColors& colors,
                 const DashboardStyle& style)
{
    const Palette& palette = colors.palette;
    const QRectF inner = frame.adjusted(style.padding, 0, -style.padding, 0);
    const qreal middle = frame.top() + style.networkLabelMiddle;
    cardLabel(painter, inner.left(), middle, Texts::tr("NETWORK"), palette);
    drawLine(painter, inner.right(), middle, TextSide::right, fixedFont(style.textSize),
             palette.secondaryLabel, dashboard.address);
    const QRectF left(inner.left(), frame.top() + style.graphTop,
                      (inner.width() - style.graphGap) / 2, style.graphHeight);
    drawTransfer(painter, left, true, dashboard.download, histories.download, colors.accent,
                 palette, style);
    drawTransfer(painter, left.translated(left.width() + style.graphGap, 0), false,
                 dashboard.upload, histories.upload, palette.cool, palette, style);
}

} // namespace

TemperatureState temperatureState(std::optional<double> celsius)
{
    if (!celsius)
        return {Texts::tr("Unavailable"), MetricTone::unknown};
    if (*celsius >= hotFrom)
        return {Texts::tr("Hot"), MetricTone::hot};
    if (*celsius >= warmFrom)
        return {Texts::tr("Warm"), MetricTone::warm};
    if (*celsius >= normalFrom)
        return {Texts::tr("Normal"), MetricTone::normal};
    return {Texts::tr("Cool"), MetricTone::cool};
}

QString rate(quint64 bytesPerSecond)
{
    const auto bytes = double(bytesPerSecond);
    if (bytes < kilobyte)
        return QString::number(bytesPerSecond) + u"B/s"_s;
    if (bytes < megabyte)
        return fixedPoint(bytes / kilobyte, 0) + u"K/s"_s;
    return fixedPoint(bytes / megabyte, 1) + u"M/s"_s;
}

Dashboard dashboard(const SystemMetrics& metrics)
{
    Dashboard result{
        .rows = {
            loadCard(u"cpu"_s, Texts::tr("CPU"), Texts::tr("Processor load"), metrics.cpu),
            loadCard(u"ram"_s, Texts::tr("MEMORY"),
                     amountText(metrics.memoryUsed, metrics.memoryTotal), metrics.memory),
            loadCard(u"storage"_s, Texts::tr("STORAGE"),
                     amountText(metrics.diskUsed, metrics.diskTotal), metrics.disk),
        },
        .download = metrics.knowsRates ? rate(metrics.downloadRate) : unknownValue,
        .upload = metrics.knowsRates ? rate(metrics.uploadRate) : unknownValue,
        .address = metrics.localIP.value_or(QString()),
    };
    if (!metrics.knowsLoad)
        result.rows[0].value = unknownValue; // a zero would say that all is quiet
    if (metrics.battery)
        result.halves = {batteryCard(*metrics.battery), temperatureCard(metrics.temperature)};
    return result;
}

QString Dashboard::spoken() const
{
    QStringList parts;
    for (const MetricCard& card : rows + halves)
        parts.append(spokenCard(card));
    parts.append(Texts::tr("Download %1").arg(download));
    parts.append(Texts::tr("Upload %1").arg(upload));
    if (!address.isEmpty())
        parts.append(Texts::tr("Local IP address %1").arg(address));
    return parts.join(u", "_s);
}

DashboardLayout dashboardLayout(const Dashboard& dashboard, const DashboardStyle& style)
{
    DashboardLayout layout;
    qreal top = style.gap;
    const auto place = [&](qreal height) {
        const QRectF frame(style.margin, top, style.width - 2 * style.margin, height);
        top += height + 2 * style.gap;
        return frame;
    };
    layout.header = place(style.headerHeight);
    layout.character = {layout.header.right() - style.characterRight - style.characterSide,
                        layout.header.center().y() - style.characterSide / 2, style.characterSide,
                        style.characterSide};
    for (qsizetype i = 0; i < dashboard.rows.size(); ++i)
        layout.rows.append(place(style.rowHeight));
    if (!dashboard.halves.isEmpty()) {
        QRectF half = place(style.halfHeight);
        half.setWidth(half.width() / 2 - style.gap);
        layout.halves = {half, half.translated(half.width() + 2 * style.gap, 0)};
    }
    layout.network = place(style.networkHeight);
    layout.height = top - style.gap;
    return layout;
}

void drawDashboard(QPainter& painter, const Dashboard& dashboard, const RateHistories& histories,
                   const DashboardLayout& layout, const DashboardColors& colors, bool hasFocus,
                   const DashboardStyle& style)
{
    const QColor& ground = colors.palette.cardBackground;
    const QRectF visible = painter.clipBoundingRect();
    const auto begin = [&](const QRectF& frame, const QColor& stroke, qreal border) {
        if (painter.hasClipping() && !visible.intersects(frame))
            return false;
        pixelBox(painter, frame, ground, stroke, {.border = border});
        return true;
    };
    const auto beginCard
        = [&](const QRectF& frame) { return begin(frame, colors.palette.separator, 1); };
    if (hasFocus ? begin(layout.header, colors.accent, style.focusBorder)
                 : beginCard(layout.header))
        drawHeader(painter, layout.header, colors, style);
    for (qsizetype i = 0; i < layout.rows.size(); ++i) {
        if (beginCard(layout.rows[i]))
            drawRow(painter, layout.rows[i], dashboard.rows[i], colors, style);
    }
    for (qsizetype i = 0; i < layout.halves.size(); ++i) {
        if (beginCard(layout.halves[i]))
            drawHalf(painter, layout.halves[i], dashboard.halves[i], colors, style);
    }
    if (beginCard(layout.network))
        drawNetwork(painter, layout.network, dashboard, histories, colors, style);
}
