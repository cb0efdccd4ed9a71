#pragma once

#include "panel/LimitMeter.h"
#include "panel/SpeechBubble.h"
#include "today/CardFrame.h"
#include "usage/ServiceUsage.h"
#include "usage/UsageDisplayMode.h"

#include <QList>
#include <QLocale>
#include <QRectF>

class QImage;
class QPainter;
struct Palette;

/// What one service's card says.
struct UsageCard {
    QString id;
    QString name;
    QList<MeterRow> meters;
    QString error; // beside the limits; empty for none
    QString status;
    QString speech; // what the character says; empty for nothing

    /// The same in words, for a screen reader.
    [[nodiscard]] QString spoken() const;

    bool operator==(const UsageCard&) const = default;
};

/// Makes the card of `service`. `color` is the card's own.
[[nodiscard]] UsageCard usageCard(const ServiceUsage& service, UsageDisplayMode mode,
                                  const QColor& color, const QLocale& locale,
                                  Date now = currentDate());

/// Sizes of a card in points.
struct CardStyle : CardFrameStyle {
    qreal characterSide = 58;
    qreal textLeft = 92;
    qreal nameMiddle = 19; // from the card's top
    qreal firstMeterMiddle = 42;
    qreal meterPitch = 33; // with a reset line
    qreal plainMeterPitch = 22;
    qreal textGap = 10; // between a meter's last line and the text below
    qreal lineGap = 5; // between two texts
    qreal bubbleMargin = 6; // from the card's edge
    qreal tailLeft = 30; // from the card's left edge, below the character
    qreal nameSize = 13;
    qreal textSize = 11;
};

/// Places in a card, in points from the top left corner of the card with its margins.
struct CardLayout {
    QRectF frame;
    QRectF character;
    QList<qreal> meterMiddles;
    QRectF error; // empty for none
    QRectF status;
    BubbleLayout bubble;
    qreal height = 0; // margins included
};

/// Lays `card` out; the character speaks in `speechFont`.
[[nodiscard]] CardLayout cardLayout(const UsageCard& card, const QFont& speechFont,
                                    const CardStyle& style = {});

/// Draws everything but the character and its bubble, which the caller draws at their places.
void drawCard(QPainter& painter, const UsageCard& card, const CardLayout& layout,
              const Palette& palette, const CardStyle& style = {});
