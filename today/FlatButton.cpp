#include "today/FlatButton.h"

#include "platform/TextFonts.h"
#include "today/CardFrame.h"

#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr qreal radius = 5;

QFont buttonFont(bool isStrong)
{
    return textFont(FlatButton::textSize, isStrong ? QFont::DemiBold : QFont::Normal);
}

} // namespace

FlatButton::FlatButton(const QString& text, QWidget* parent)
    : QPushButton(text, parent)
{
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
}

void FlatButton::setLook(const Palette& palette, bool isStrong)
{
    m_palette = palette;
    m_isStrong = isStrong;
    update();
}

qreal FlatButton::width(const QString& text, bool isStrong)
{
    return QFontMetricsF(buttonFont(isStrong)).horizontalAdvance(text) + 2 * padding;
}

void FlatButton::mouseDoubleClickEvent(QMouseEvent* event)
{
    event->accept();
}

void FlatButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const double scale = textScale();
    painter.scale(scale, scale);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area(0, 0, width() / scale, height() / scale);
    if (underMouse()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_palette.windowBackground);
        painter.drawRoundedRect(area, radius, radius);
    }
    if (hasFocus())
        drawCardFocus(painter, area, m_palette, {.radius = radius});
    const QFont font = buttonFont(m_isStrong);
    painter.setFont(font);
    painter.setPen(m_isStrong || underMouse() ? m_palette.label : m_palette.secondaryLabel);
    const qreal baseline = area.center().y() + QFontMetricsF(font).capHeight() / 2;
    painter.drawText(QPointF(padding, baseline), text());
}
