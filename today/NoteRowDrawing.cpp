#include "today/NoteRowDrawing.h"

#include "platform/DesktopAppearance.h"
#include "platform/TextFonts.h"
#include "today/CardFrame.h"
#include "today/NotesStore.h"

#include <QPainter>

namespace {

constexpr qsizetype shownUnits = 512; // of a text; more than fits

QFont rowFont(bool isDone, const RowStyle& style)
{
    QFont font = textFont(style.textSize);
    font.setStrikeOut(isDone);
    return font;
}

QString shownText(const QString& text)
{
    return oneLine(text.left(shownUnits)); // the file may hold anything
}

void drawBox(QPainter& painter, const QRectF& box, bool isDone, const Palette& palette,
             const RowStyle& style)
{
    const qreal inset = style.boxLine / 2;
    painter.setPen(isDone ? QPen(Qt::NoPen) : QPen(palette.secondaryLabel, style.boxLine));
    painter.setBrush(isDone ? QBrush(palette.accent) : QBrush(Qt::NoBrush));
    const QRectF outline = isDone ? box : box.adjusted(inset, inset, -inset, -inset);
    painter.drawRoundedRect(outline, style.boxRadius, style.boxRadius);
    if (!isDone)
        return;
    QPen pen(palette.accentText, style.tickLine);
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    painter.setPen(pen);
    const auto at = [&box](qreal x, qreal y) {
        return box.topLeft() + QPointF(x * box.width(), y * box.height());
    };
    painter.drawPolyline(QPolygonF({at(0.26, 0.53), at(0.43, 0.70), at(0.75, 0.32)}));
}

/// Draws `text` on one line from the side where its script begins, cut off at the other.
void drawTask(QPainter& painter, const QRectF& place, const QString& text, const QFont& font)
{
    const QFontMetricsF metrics(font);
    const QString cut = metrics.elidedText(text, Qt::ElideRight, place.width());
    const qreal width = metrics.horizontalAdvance(cut);
    const bool isRightToLeft = text.isRightToLeft();
    const qreal x = isRightToLeft ? place.right() - width : place.left();
    painter.setLayoutDirection(isRightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
    painter.setClipRect(place);
    painter.setFont(font);
    painter.drawText(QPointF(x, place.center().y() + metrics.capHeight() / 2), cut);
    painter.setClipping(false);
}

} // namespace

RowLayout rowLayout(qreal width, const RowStyle& style)
{
    RowLayout layout;
    layout.hover = {0, style.hoverInset, width, style.height - 2 * style.hoverInset};
    layout.box = {style.boxLeft, (style.height - style.boxSide) / 2, style.boxSide, style.boxSide};
    layout.remove = {width - style.removeSide, (style.height - style.removeSide) / 2,
                     style.removeSide, style.removeSide};
    layout.text = {style.textLeft, 0, layout.remove.left() - style.textLeft, style.height};
    layout.editor
        = layout.text.adjusted(-style.editorOverhang, style.editorInset, 0, -style.editorInset);
    return layout;
}

bool fitsRow(const QString& text, const RowLayout& layout, const RowStyle& style)
{
    const QFontMetricsF metrics(rowFont(false, style));
    return metrics.horizontalAdvance(shownText(text)) <= layout.text.width();
}

void drawRow(QPainter& painter, const NoteItem& item, const RowLook& look, const RowLayout& layout,
             const Palette& palette, const RowStyle& style)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    if (look.isHovered) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette.windowBackground);
        painter.drawRoundedRect(layout.hover, style.hoverRadius, style.hoverRadius);
    }
    if (look.hasRing)
        drawCardFocus(painter, layout.hover, palette, {.radius = style.hoverRadius});
    drawBox(painter, layout.box, item.done, palette, style);
    painter.setPen(item.done ? palette.secondaryLabel : palette.label);
    if (look.hasText)
        drawTask(painter, layout.text, shownText(item.text), rowFont(item.done, style));
    painter.restore();
}

void drawRemove(QPainter& painter, const QRectF& place, bool hasRing, bool isStrong,
                const Palette& palette, const RowStyle& style)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal inset = style.removeRingInset;
    if (hasRing) {
        drawCardFocus(painter, place.adjusted(inset, inset, -inset, -inset), palette,
                      {.radius = style.hoverRadius});
    }
    QPen pen(isStrong ? palette.label : palette.secondaryLabel, style.removeLine);
    pen.setCapStyle(Qt::RoundCap);
    painter.setPen(pen);
    painter.translate(place.center());
    const qreal arm = style.removeArm;
    painter.drawLine(QPointF(-arm, -arm), QPointF(arm, arm));
    painter.drawLine(QPointF(-arm, arm), QPointF(arm, -arm));
    painter.restore();
}
