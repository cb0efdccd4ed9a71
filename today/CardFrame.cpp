#include "today/CardFrame.h"

#include "platform/DesktopAppearance.h"

#include <QPainter>

void drawCardFrame(QPainter& painter, const QRectF& frame, const Palette& palette,
                   const CardFrameStyle& style)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette.separator, 1));
    painter.setBrush(palette.cardBackground);
    // A line of one point is sharp when it runs through the middle of pixels.
    painter.drawRoundedRect(frame.adjusted(0.5, 0.5, -0.5, -0.5), style.radius, style.radius);
    painter.restore();
}

void drawCardFocus(QPainter& painter, const QRectF& frame, const Palette& palette,
                   const CardFrameStyle& style)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette.accent, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(frame.adjusted(1, 1, -1, -1), style.radius - 1, style.radius - 1);
    painter.restore();
}
