#include "app/SidebarButton.h"

#include "characters/SpritePainter.h"
#include "platform/TextFonts.h"

#include <QPainter>

namespace {

// In points.
constexpr QSizeF buttonSize(148, 32);
constexpr qreal radius = 7;
constexpr qreal iconLeft = 10;
constexpr qreal iconPixel = 1.5;
constexpr qreal textLeft = 36;
constexpr qreal textSize = 13;

} // namespace

SidebarButton::SidebarButton(const QString& title, QStringList icon, QWidget* parent)
    : QAbstractButton(parent)
    , m_icon(std::move(icon))
{
    setText(title);
    setAccessibleName(title);
    setCheckable(true);
    setAutoExclusive(true);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
}

void SidebarButton::setColors(const Palette& palette)
{
    m_palette = palette;
    update();
}

QSize SidebarButton::sizeHint() const
{
    return (buttonSize * textScale()).toSize();
}

void SidebarButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(textScale(), textScale());
    const QRectF area(QPointF(), QSizeF(size()) / textScale());
    if (isChecked() || hasFocus()) {
        painter.setPen(hasFocus() ? QPen(m_palette.accent, 1.5) : QPen(Qt::NoPen));
        painter.setBrush(isChecked() ? QBrush(m_palette.cardBackground) : QBrush(Qt::NoBrush));
        painter.drawRoundedRect(area.adjusted(1, 1, -1, -1), radius, radius);
    }
    const QColor color = isChecked() ? m_palette.accent : m_palette.secondaryLabel;
    const qreal iconTop = (area.height() - qreal(m_icon.size()) * iconPixel) / 2;
    drawPixelRows(painter, m_icon, {iconLeft, iconTop}, iconPixel, color);
    painter.setFont(textFont(textSize, isChecked() ? QFont::DemiBold : QFont::Normal));
    painter.setPen(isChecked() ? m_palette.label : m_palette.secondaryLabel);
    painter.drawText(area.adjusted(textLeft, 0, -4, 0), Qt::AlignVCenter | Qt::AlignLeft, text());
}
