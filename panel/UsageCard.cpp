#include "panel/UsageCard.h"

#include "platform/DesktopAppearance.h"
#include "platform/TextFonts.h"
#include "usage/UsageTexts.h"

#include <QCoreApplication>
#include <QPainter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr auto wrapping = Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap;

class Texts {
    Q_DECLARE_TR_FUNCTIONS(UsageCard)
};

/// The limits that a service is known to have, for the time before it has told any.
QStringList expectedLimits(const QString& id)
{
    if (id == "claude"_L1)
        return {u"5-hour"_s, u"Weekly"_s};
    if (id == "codex"_L1)
        return {u"Short limit"_s, u"Weekly"_s};
    return {};
}

MeterRow meterRow(const ServiceUsage& service, const LimitWindow& window, UsageDisplayMode mode,
                  const QColor& color, const QLocale& locale, Date now)
{
    return {
        .title = meterTitle(window.name),
        .remaining = window.remaining,
        .shown = shownValue(mode, window.remaining),
        .figure = shownText(mode, window.remaining),
        .reset = resetText(window, locale, now),
        .isStale = !service.isCurrent(window, now),
        .color = color,
    };
}

/// Where a text of the width that `style` leaves ends up, below `top`.
QRectF textPlace(const QString& text, qreal top, const CardStyle& style)
{
    const QRectF room(style.textLeft, top,
                      style.width - style.margin - style.padding - style.textLeft, 10'000);
    const QRectF used
        = QFontMetricsF(textFont(style.textSize)).boundingRect(room, int(wrapping), text);
    return QRectF(room.left(), top, room.width(), used.height());
}

} // namespace

QString UsageCard::spoken() const
{
    QStringList parts{name};
    for (const MeterRow& meter : meters) {
        const QString figure = meter.remaining ? meter.figure : Texts::tr("unknown");
        parts.append(meter.title + u' ' + figure);
        if (!meter.reset.isEmpty())
            parts.append(meter.reset);
    }
    if (!error.isEmpty())
        parts.append(error);
    parts.append(status);
    if (!speech.isEmpty())
        parts.append(speech);
    return parts.join(u", "_s);
}

UsageCard usageCard(const ServiceUsage& service, UsageDisplayMode mode, const QColor& color,
                    const QLocale& locale, Date now)
{
    UsageCard card{
        .id = service.id,
        .name = service.name,
        .status = statusText(service, now),
    };
    for (const LimitWindow& window : service.displayed())
        card.meters.append(meterRow(service, window, mode, color, locale, now));
    if (card.meters.isEmpty()) {
        for (const QString& limit : expectedLimits(service.id))
            card.meters.append({.title = meterTitle(limit), .figure = u"—"_s, .color = color});
    }
    if (service.error && *service.error != card.status)
        card.error = *service.error;
    return card;
}

CardLayout cardLayout(const UsageCard& card, const QFont& speechFont, const CardStyle& style)
{
    CardLayout layout;
    layout.character = {style.margin + style.padding, style.gap + style.padding,
                        style.characterSide, style.characterSide};
    qreal bottom = style.gap + style.nameMiddle + style.nameSize / 2;
    qreal middle = style.gap + style.firstMeterMiddle;
    const MeterStyle meterStyle;
    for (const MeterRow& meter : card.meters) {
        layout.meterMiddles.append(middle);
        const bool hasReset = !meter.reset.isEmpty();
        bottom
            = middle + (hasReset ? meterStyle.resetOffset : 0) + meterStyle.trackSize.height() / 2;
        middle += hasReset ? style.meterPitch : style.plainMeterPitch;
    }
    bottom += style.textGap;
    if (!card.error.isEmpty()) {
        layout.error = textPlace(card.error, bottom, style);
        bottom = layout.error.bottom() + style.lineGap;
    }
    layout.status = textPlace(card.status, bottom, style);
    bottom = std::max(layout.status.bottom(), layout.character.bottom());
    const qreal left = style.margin + style.bubbleMargin;
    layout.bubble = bubbleLayout(card.speech, speechFont, {style.margin + style.tailLeft, bottom},
                                 left, style.width - left);
    bottom = layout.bubble.bottom + (card.speech.isEmpty() ? style.padding : style.bubbleMargin);
    layout.frame = {style.margin, style.gap, style.width - 2 * style.margin, bottom - style.gap};
    layout.height = bottom + style.gap;
    return layout;
}

void drawCard(QPainter& painter, const UsageCard& card, const CardLayout& layout,
              const Palette& palette, const CardStyle& style)
{
    painter.save();
    drawCardFrame(painter, layout.frame, palette, style);
    painter.setRenderHint(QPainter::Antialiasing);
    const QFont nameFont = textFont(style.nameSize, QFont::DemiBold);
    painter.setFont(nameFont);
    painter.setPen(palette.label);
    const qreal baseline = style.gap + style.nameMiddle + QFontMetricsF(nameFont).capHeight() / 2;
    painter.drawText(QPointF(style.textLeft, baseline), card.name);
    for (qsizetype i = 0; i < card.meters.size(); ++i)
        drawMeter(painter, layout.meterMiddles[i], card.meters[i], palette);

    painter.setFont(textFont(style.textSize));
    painter.setPen(palette.label);
    painter.drawText(layout.error, int(wrapping), card.error);
    painter.setPen(palette.secondaryLabel);
    painter.drawText(layout.status, int(wrapping), card.status);
    painter.restore();
}
