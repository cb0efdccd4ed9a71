#pragma once

#include "today/CardFrame.h"
#include "today/DashboardDrawing.h"
#include "today/SystemMetricsSampler.h"

/// One card of the System tab with a figure.
struct MetricCard {
    QString icon;
    QString label;
    QString detail; // beside the figure; may be empty
    QString value;
    std::optional<double> level; // of the gauge, 0 to 1; absent for a card without one
    QString state; // a word below the figure, in the tone's colour
    MetricTone tone = MetricTone::normal;

    bool operator==(const MetricCard&) const = default;
};

/// What the System tab says.
struct Dashboard {
    QList<MetricCard> rows;
    QList<MetricCard> halves; // two that share a row; none without a battery
    QString download;
    QString upload;
    QString address; // empty for none

    /// The same in words, for a screen reader.
    [[nodiscard]] QString spoken() const;

    bool operator==(const Dashboard&) const = default;
};

[[nodiscard]] Dashboard dashboard(const SystemMetrics& metrics);

/// A battery's state in a word and its tone. `celsius` is absent when nothing is known.
struct TemperatureState {
    QString word;
    MetricTone tone = MetricTone::normal;
};
[[nodiscard]] TemperatureState temperatureState(std::optional<double> celsius);

/// `bytesPerSecond` as "1023B/s", "1K/s", "1.5M/s".
[[nodiscard]] QString rate(quint64 bytesPerSecond);

/// Sizes of the dashboard in points. Middles are those of lines, from a card's top.
struct DashboardStyle : CardFrameStyle {
    qreal headerHeight = 54;
    qreal titleSize = 14;
    qreal titleSpacing = 1.6;
    qreal badgeGap = 12; // from the title
    QSizeF badgeSize{48, 18};
    double badgeShare = 0.12; // of the accent in the badge's ground
    qreal badgeDot = 4;
    qreal badgePadding = 8;
    qreal characterSide = 44;
    qreal characterRight = 10; // from the card's right edge

    qreal rowHeight = 50;
    qreal iconSide = 34;
    qreal iconLeft = 10;
    qreal textLeft = 54; // from the card's left edge
    qreal rowMiddle = 18;
    qreal rowGaugeTop = 30;
    qreal gaugeHeight = 8;
    int rowCells = 25;
    qreal valueWidth = 46;

    qreal halfHeight = 68;
    qreal halfLabelMiddle = 17;
    qreal halfValueMiddle = 35;
    qreal halfStateMiddle = 53;
    int halfCells = 10;
    qreal halfPadding = 11;

    qreal networkHeight = 106;
    qreal networkLabelMiddle = 18;
    qreal rateMiddle = 39;
    qreal rateLeft = 16; // from the graph's left edge
    qreal arrowMiddle = 5; // from the graph's left edge
    qreal graphTop = 54;
    qreal graphHeight = 38;
    qreal graphGap = 18; // between the two graphs

    qreal valueSize = 15;
    qreal textSize = 10;
    qreal stateSize = 11;
    qreal focusBorder = 2;
};

/// Places in the dashboard, in points from its top left corner.
struct DashboardLayout {
    QRectF header;
    QRectF character;
    QList<QRectF> rows;
    QList<QRectF> halves;
    QRectF network;
    qreal height = 0; // margins included
};

[[nodiscard]] DashboardLayout dashboardLayout(const Dashboard& dashboard,
                                              const DashboardStyle& style = {});

/// The newest rates in bytes per second, oldest first.
struct RateHistories {
    static constexpr qsizetype capacity = 24;
    QList<quint64> download;
    QList<quint64> upload;
};

/// Draws everything but the character, which the caller draws at its place. `hasFocus` marks the
/// header as the place of the keyboard.
void drawDashboard(QPainter& painter, const Dashboard& dashboard, const RateHistories& histories,
                   const DashboardLayout& layout, const DashboardColors& colors, bool hasFocus,
                   const DashboardStyle& style = {});
