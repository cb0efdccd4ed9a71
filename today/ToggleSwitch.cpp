#include "today/ToggleSwitch.h"

#include "platform/TextFonts.h"

#include <QKeyEvent>
#include <QPainter>

namespace {

// In points.
constexpr QSizeF trackSize(32, 18);
constexpr qreal knobInset = 2;
constexpr qreal focusInset = 2; // room for the ring around the track
constexpr qreal disabledOpacity = 0.4;

} // namespace

ToggleSwitch::ToggleSwitch(QWidget* parent)
    : QAbstractButton(parent)
{
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void ToggleSwitch::setColors(const Palette& palette)
{
    m_palette = palette;
    update();
}

QSize ToggleSwitch::sizeHint() const
{
    const QSizeF size = trackSize + QSizeF(2 * focusInset, 2 * focusInset);
    return (size * textScale()).toSize();
}

void ToggleSwitch::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        click();
    else
        QAbstractButton::keyPressEvent(event);
}

void ToggleSwitch::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(textScale(), textScale());
    painter.setOpacity(isEnabled() ? 1 : disabledOpacity);
    const QRectF track(QPointF(focusInset, focusInset), trackSize);
    const qreal radius = track.height() / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? m_palette.accent : m_palette.secondaryLabel);
    painter.drawRoundedRect(track, radius, radius);

    const qreal side = track.height() - 2 * knobInset;
    const qreal left = isChecked() ? track.right() - knobInset - side : track.left() + knobInset;
    painter.setBrush(isChecked() ? m_palette.accentText : m_palette.cardBackground);
    painter.drawEllipse(QRectF(left, track.top() + knobInset, side, side));
    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(m_palette.accent, 1.5));
        painter.drawRoundedRect(track.adjusted(-1.25, -1.25, 1.25, 1.25), radius + 1.25,
                                radius + 1.25);
    }
}
