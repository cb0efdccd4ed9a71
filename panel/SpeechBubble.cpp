#include "panel/SpeechBubble.h"

#include "platform/Characters.h"
#include "platform/DesktopAppearance.h"

#include <QPainter>
#include <QTextLayout>

#include <algorithm>

namespace {

/// Breaks `text` into lines of at most `width`. Returns the size that they take.
QSizeF breakLines(QTextLayout& layout, qreal width)
{
    QSizeF size(0, 0);
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition({0, size.height()});
        size = {std::max(size.width(), line.naturalTextWidth()), size.height() + line.height()};
    }
    layout.endLayout();
    return size;
}

} // namespace

BubbleLayout bubbleLayout(const QString& text, const QFont& font, QPointF tip, qreal left,
                          qreal right, const BubbleStyle& style)
{
    if (text.isEmpty())
        return {.bottom = tip.y()};
    QTextLayout lines(text, font);
    const QSizeF size = breakLines(lines, right - left - 2 * style.insetX);
    const qreal top = tip.y() + style.tailHeight;
    BubbleLayout layout;
    layout.text = QRectF({left + style.insetX, top + style.insetY}, size);
    layout.frame = layout.text.adjusted(-style.insetX, -style.insetY, style.insetX, style.insetY);
    layout.tail << tip << QPointF(tip.x() + style.tailWidth, top) << QPointF(tip.x(), top);
    layout.bottom = layout.frame.bottom();
    return layout;
}

void drawBubble(QPainter& painter, const QString& text, qsizetype revealed, const QFont& font,
                const BubbleLayout& layout, const Palette& palette, const BubbleStyle& style)
{
    if (text.isEmpty())
        return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette.windowBackground);
    painter.drawRoundedRect(layout.frame, style.radius, style.radius);
    painter.drawPolygon(layout.tail);

    QTextLayout lines(text, font);
    breakLines(lines, layout.text.width() + 1); // what was measured must not wrap for a rounding
    QTextCharFormat hidden;
    hidden.setForeground(Qt::transparent);
    const int shown = int(firstCharacters(text, revealed).size());
    painter.setPen(palette.label);
    lines.draw(&painter, layout.text.topLeft(), {{shown, int(text.size()) - shown, hidden}});
    painter.restore();
}
