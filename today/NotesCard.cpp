#include "today/NotesCard.h"

#include "platform/DesktopAppearance.h"
#include "platform/TextFonts.h"
#include "today/FlatButton.h"

#include <QCoreApplication>
#include <QFontMetricsF>
#include <QPainter>

namespace {

class Texts {
    Q_DECLARE_TR_FUNCTIONS(NotesCard)
};

/// Draws `text` so that its capitals stand in the middle of `place`.
void drawLine(QPainter& painter, const QRectF& place, const QString& text, Qt::Alignment side)
{
    const QFontMetricsF metrics(painter.font());
    const qreal free = place.width() - metrics.horizontalAdvance(text);
    const qreal x = place.left() + (side == Qt::AlignRight ? free : 0);
    painter.drawText(QPointF(x, place.center().y() + metrics.capHeight() / 2), text);
}

} // namespace

QRectF NotesCardLayout::row(qsizetype index, const NotesCardStyle& style) const
{
    return {rows.left(), rows.top() + qreal(index) * style.rowHeight, rows.width(),
            style.rowHeight};
}

qreal notesCardHeight(qsizetype itemCount, const NotesCardStyle& style)
{
    return qreal(std::max<qsizetype>(1, itemCount)) * style.rowHeight + style.headHeight
        + style.bottomMargin;
}

NotesCardLayout notesCardLayout(qsizetype itemCount, const NotesCardTexts& texts,
                                const QString& undoText, const QString& clearText,
                                const NotesCardStyle& style)
{
    const qreal left = style.margin + style.padding;
    const qreal right = style.width - left;
    const qreal height = notesCardHeight(itemCount, style);
    const QFontMetricsF plain(textFont(style.textSize));

    NotesCardLayout layout;
    layout.frame
        = {style.margin, style.gap, style.width - 2 * style.margin, height - 2 * style.gap};
    layout.character = {right - style.characterSide, style.characterTop, style.characterSide,
                        style.characterSide};
    const qreal textRight = layout.character.left() - style.characterGap;
    layout.title
        = {left, style.titleMiddle - style.rowHeight / 2, (textRight - left) / 2, style.rowHeight};
    layout.count = layout.title.translated(layout.title.width(), 0);
    layout.removed
        = {left, style.actionTop, plain.horizontalAdvance(texts.removed), style.actionHeight};
    const qreal undoWidth = FlatButton::width(undoText, true);
    const qreal clearWidth = FlatButton::width(clearText, false);
    layout.undo
        = {layout.removed.right() + style.undoGap, style.actionTop, undoWidth, style.actionHeight};
    layout.clear = {textRight + FlatButton::padding - clearWidth, style.actionTop, clearWidth,
                    style.actionHeight};
    layout.input = {left, style.inputTop, right - left, style.inputHeight};
    layout.rows = {left - style.rowOverhang, style.headHeight, right - left + 2 * style.rowOverhang,
                   height - style.headHeight - style.bottomMargin};
    return layout;
}

void drawNotesCard(QPainter& painter, const NotesCardTexts& texts, const NotesCardLayout& layout,
                   const Palette& palette, const NotesCardStyle& style)
{
    painter.save();
    drawCardFrame(painter, layout.frame, palette, style);
    painter.setPen(palette.secondaryLabel);
    QFont titleFont = fixedFont(style.titleSize, QFont::Bold);
    titleFont.setLetterSpacing(QFont::AbsoluteSpacing, style.titleSpacing);
    painter.setFont(titleFont);
    drawLine(painter, layout.title, Texts::tr("NOTES"), Qt::AlignLeft);
    painter.setFont(textFont(style.textSize));
    drawLine(painter, layout.count, texts.count, Qt::AlignRight);
    drawLine(painter, layout.removed, texts.removed, Qt::AlignLeft);
    const QRectF empty = layout.row(0, style).adjusted(style.rowOverhang, 0, 0, 0);
    drawLine(painter, empty, texts.empty, Qt::AlignLeft);
    painter.restore();
}
