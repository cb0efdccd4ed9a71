#include "characters/CharacterSearchField.h"

#include "characters/WidgetPalette.h"
#include "platform/TextFonts.h"

#include <QPainter>

namespace {

constexpr SearchFieldStyle sizes;
constexpr qreal frameLine = 1; // points
constexpr qreal focusLine = 2;

} // namespace

CharacterSearchField::CharacterSearchField(QWidget* parent)
    : QLineEdit(parent)
{
    setFrame(false);
    setClearButtonEnabled(true);
    setColors(paletteFor(ColorScheme::light));
}

void CharacterSearchField::setColors(const Palette& palette)
{
    m_palette = palette;
    QPalette colors = widgetPalette(palette);
    colors.setColor(QPalette::Base, Qt::transparent); // its ground is drawn here
    setPalette(colors);
    const double scale = textScale();
    const int padding = qRound(sizes.padding * scale);
    setFont(textFont(sizes.textSize * scale));
    setTextMargins(qRound(sizes.textLeft * scale), padding, padding, padding);
}

void CharacterSearchField::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double scale = textScale();
    const qreal line = hasFocus() ? focusLine : frameLine;
    painter.setPen(QPen(hasFocus() ? m_palette.accent : m_palette.separator, line));
    painter.setBrush(m_palette.cardBackground);
    painter.drawRoundedRect(QRectF(rect()).adjusted(line / 2, line / 2, -line / 2, -line / 2),
                            sizes.radius * scale, sizes.radius * scale);
    drawLens(painter, scale);
    painter.end();
    QLineEdit::paintEvent(event);
}

void CharacterSearchField::drawLens(QPainter& painter, double scale) const
{
    painter.scale(scale, scale);
    painter.setPen(QPen(m_palette.secondaryLabel, sizes.line, Qt::SolidLine, Qt::RoundCap));
    painter.setBrush(Qt::NoBrush);
    const qreal whole = sizes.lensSide + sizes.lensHandle;
    const QPointF corner(sizes.lensLeft, (height() / scale - whole) / 2);
    const QRectF glass(corner, QSizeF(sizes.lensSide, sizes.lensSide));
    painter.drawEllipse(glass);
    const qreal rim = sizes.lensSide * 0.86; // where the circle meets its diagonal
    painter.drawLine(corner + QPointF(rim, rim), corner + QPointF(whole, whole));
}
