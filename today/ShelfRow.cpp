#include "today/ShelfRow.h"

#include "platform/DesktopAppearance.h"
#include "platform/TextFonts.h"
#include "usage/UsageTexts.h"

#include <QCoreApplication>
#include <QPainter>
#include <QPainterPath>

using namespace Qt::StringLiterals;

namespace {

class Texts {
    Q_DECLARE_TR_FUNCTIONS(ClipboardShelfView)
};

constexpr qsizetype longestShown = 200; // UTF-16 units; a row has room for fewer
constexpr qreal pressedTint = 0.10; // of the label colour
constexpr qreal hoverTint = 0.06;
constexpr qreal removeTint = 0.12;

/// The title as one line of a list: a control character has no glyph, or moves the rest.
QString shownTitle(const ShelfItem& item)
{
    QString shown = item.title(longestShown).left(longestShown);
    for (QChar& character : shown) {
        if (character.category() == QChar::Other_Control)
            character = u' ';
    }
    return shown.trimmed();
}

QString toolTip(const ShelfItem& item, Date now)
{
    const QString hint = item.kind == ShelfItemKind::file
        ? item.value + u'\n' + Texts::tr("Click to copy · drag out to move")
        : Texts::tr("Click to copy · drag out to take it");
    return Texts::tr("%1 · added %2").arg(hint, relativeAge(item.createdAt, now));
}

QColor tinted(QColor color, qreal share)
{
    color.setAlphaF(float(share));
    return color;
}

void drawLine(QPainter& painter, const QRectF& place, const QFont& font, const QColor& color,
              const QString& text)
{
    painter.setFont(font);
    painter.setPen(color);
    const QString elided = QFontMetricsF(font).elidedText(text, Qt::ElideRight, place.width());
    painter.drawText(place, int(Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine), elided);
}

void drawThumbnail(QPainter& painter, const QImage& image, const QRectF& place, qreal radius)
{
    const QSizeF size = QSizeF(image.size()).scaled(place.size(), Qt::KeepAspectRatio);
    const QSizeF natural = QSizeF(image.size()) / painter.device()->devicePixelRatio();
    const QSizeF shown = natural.width() < size.width() ? natural : size;
    QRectF target(QPointF(), shown.expandedTo({1, 1}));
    target.moveCenter(place.center());
    QPainterPath rounded;
    rounded.addRoundedRect(target, radius, radius);
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setClipPath(rounded);
    painter.drawImage(target, image);
    painter.restore();
}

void drawIcon(QPainter& painter, const ShelfRow& row, const ShelfRowIcon& icon, const QRectF& place,
              const Palette& palette, qreal thumbnailRadius)
{
    if (!icon.thumbnail.isNull())
        drawThumbnail(painter, icon.thumbnail, place, thumbnailRadius);
    else if (!icon.icon.isNull())
        icon.icon.paint(&painter, place.toAlignedRect());
    else
        drawShelfSymbol(painter, row.kind, place, palette.secondaryLabel);
}

void drawCross(QPainter& painter, const QRectF& place, bool isHovered, const Palette& palette,
               qreal side)
{
    painter.setPen(Qt::NoPen);
    if (isHovered) {
        painter.setBrush(tinted(palette.label, removeTint));
        painter.drawEllipse(place);
    }
    QRectF cross(0, 0, side, side);
    cross.moveCenter(place.center());
    painter.setPen(QPen(palette.secondaryLabel, 1.5, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(cross.topLeft(), cross.bottomRight());
    painter.drawLine(cross.topRight(), cross.bottomLeft());
}

/// A sheet with a folded corner.
QPainterPath sheet(const QRectF& place)
{
    const qreal fold = place.width() * 0.34;
    QPainterPath path(place.topLeft());
    path.lineTo(place.right() - fold, place.top());
    path.lineTo(place.right(), place.top() + fold);
    path.lineTo(place.bottomRight());
    path.lineTo(place.bottomLeft());
    path.closeSubpath();
    path.moveTo(place.right() - fold, place.top());
    path.lineTo(place.right() - fold, place.top() + fold);
    path.lineTo(place.right(), place.top() + fold);
    return path;
}

QPainterPath photo(const QRectF& place)
{
    const auto at = [&place](qreal x, qreal y) {
        return place.topLeft() + QPointF(x * place.width(), y * place.height());
    };
    QPainterPath path;
    path.addRoundedRect(place, 2, 2);
    path.addEllipse(at(0.30, 0.33), 1.4, 1.4);
    path.moveTo(at(0.06, 0.92));
    path.lineTo(at(0.40, 0.55));
    path.lineTo(at(0.56, 0.72));
    path.lineTo(at(0.72, 0.48));
    path.lineTo(at(0.95, 0.80));
    return path;
}

} // namespace

ShelfRow shelfRow(const ShelfItem& item, Date now)
{
    return {
        .id = item.id,
        .kind = item.kind,
        .title = shownTitle(item),
        .age = relativeAge(item.createdAt, now),
        .toolTip = toolTip(item, now),
    };
}

ShelfRowLayout shelfRowLayout(const ShelfRow& row, qreal width, const ShelfRowStyle& style)
{
    const qreal middle = style.height / 2;
    const qreal right = width - style.inset;
    const qreal left = style.inset + style.iconSide + style.iconGap;
    const qreal titleWidth
        = QFontMetricsF(textFont(style.titleSize)).horizontalAdvance(row.title) + 1;
    qreal ageWidth = QFontMetricsF(textFont(style.ageSize)).horizontalAdvance(row.age) + 1;
    if (left + titleWidth + style.ageGap + ageWidth > right)
        ageWidth = 0;
    return {
        .ground = {0, 0, width, style.height},
        .icon = {style.inset, middle - style.iconSide / 2, style.iconSide, style.iconSide},
        .title = {left, 0, right - left, style.height},
        .age = {right - ageWidth, 0, ageWidth, style.height},
        .remove = {right - style.removeSide, middle - style.removeSide / 2, style.removeSide,
                   style.removeSide},
    };
}

void drawShelfRow(QPainter& painter, const ShelfRow& row, const ShelfRowIcon& icon,
                  const ShelfRowLayout& layout, const ShelfRowState& state, const Palette& palette,
                  const ShelfRowStyle& style)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(state.hasFocus ? QPen(palette.accent, 2) : QPen(Qt::NoPen));
    const qreal tint = state.isPressed ? pressedTint : state.isHovered ? hoverTint : 0;
    painter.setBrush(tinted(palette.label, tint));
    painter.drawRoundedRect(layout.ground.adjusted(1, 1, -1, -1), style.radius, style.radius);

    drawIcon(painter, row, icon, layout.icon, palette, style.thumbnailRadius);
    QRectF title = layout.title;
    if (state.isHovered)
        title.setRight(layout.remove.left());
    drawLine(painter, title, textFont(style.titleSize), palette.label, row.title);
    if (state.isHovered)
        drawCross(painter, layout.remove, state.isRemoveHovered, palette, style.crossSide);
    else if (!layout.age.isEmpty())
        drawLine(painter, layout.age, textFont(style.ageSize), palette.secondaryLabel, row.age);
    painter.restore();
}

void drawShelfSymbol(QPainter& painter, ShelfItemKind kind, const QRectF& place,
                     const QColor& color)
{
    constexpr QSizeF sheetSize(15, 19);
    constexpr QSizeF photoSize(20, 16);
    constexpr qreal lineInset = 3.5;
    QRectF shape(QPointF(), kind == ShelfItemKind::image ? photoSize : sheetSize);
    shape.moveCenter(place.center());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(color, 1.3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(kind == ShelfItemKind::image ? photo(shape) : sheet(shape));
    if (kind == ShelfItemKind::text) {
        for (const qreal height : {0.48, 0.64, 0.80}) {
            const qreal y = shape.top() + height * shape.height();
            painter.drawLine(QPointF(shape.left() + lineInset, y),
                             QPointF(shape.right() - lineInset, y));
        }
    }
    painter.restore();
}
