#include "characters/CharacterTile.h"

#include "platform/TextFonts.h"

#include <QKeyEvent>
#include <QPainter>

#include <cmath>

namespace {

constexpr qreal ringWidth = 1.5; // points

bool isEnter(const QKeyEvent& event)
{
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

} // namespace

QColor translucent(QColor color, qreal share)
{
    color.setAlphaF(float(share));
    return color;
}

CharacterTile::CharacterTile(QWidget* parent)
    : QAbstractButton(parent)
{
    setCheckable(true);
    setAutoExclusive(true);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void CharacterTile::setColors(const Palette& palette)
{
    m_palette = palette;
    update();
}

double CharacterTile::scale() const
{
    return m_scale > 0 ? m_scale : textScale();
}

void CharacterTile::setScale(double scale)
{
    m_scale = scale;
    relayOut();
}

void CharacterTile::setCharacterName(const QString& name)
{
    if (name == m_name)
        return;
    m_name = name;
    describe();
    update();
}

void CharacterTile::setCharacterImage(const QImage& image)
{
    m_image = image;
    update(imageRect());
}

double CharacterTile::characterSide() const
{
    const double ratio = devicePixelRatioF();
    return std::round(characterPlace().width() * scale() * ratio) / ratio;
}

QRect CharacterTile::imageRect() const
{
    const double side = characterSide();
    const QPointF middle = characterPlace().center() * scale();
    return {QPoint(int(middle.x() - side / 2), int(middle.y() - side / 2)),
            QSize(int(std::ceil(side)), int(std::ceil(side)))};
}

void CharacterTile::setOn(bool isOn)
{
    if (isOn == isChecked())
        return;
    // One of several is not switched off by itself, but here none may be on.
    setAutoExclusive(isOn);
    setChecked(isOn);
    setAutoExclusive(true);
    if (isOn)
        becomeTabStop();
    update();
}

void CharacterTile::becomeTabStop()
{
    const QWidget* box = parentWidget();
    const auto tiles = box ? box->findChildren<CharacterTile*>(Qt::FindDirectChildrenOnly)
                           : QList<CharacterTile*>();
    for (CharacterTile* tile : tiles)
        tile->setFocusPolicy(Qt::ClickFocus);
    setFocusPolicy(Qt::StrongFocus);
}

void CharacterTile::relayOut()
{
    updateGeometry();
    update();
}

QRectF CharacterTile::bounds() const
{
    return {QPointF(0, 0), QSizeF(size()) / scale()};
}

void CharacterTile::drawKeyboardRing(QPainter& painter, qreal inset, qreal radius) const
{
    if (!m_showsFocus || !hasFocus())
        return;
    const qreal edge = inset + ringWidth / 2;
    painter.setPen(QPen(m_palette.label, ringWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(bounds().adjusted(edge, edge, -edge, -edge), radius, radius);
}

void CharacterTile::setHovered(bool isHovered)
{
    m_isHovered = isHovered;
    update();
}

bool CharacterTile::event(QEvent* event)
{
    if (event->type() == QEvent::ApplicationFontChange || event->type() == QEvent::FontChange)
        relayOut();
    else if (event->type() == QEvent::Enter || event->type() == QEvent::Leave)
        setHovered(event->type() == QEvent::Enter);
    return QAbstractButton::event(event);
}

void CharacterTile::focusInEvent(QFocusEvent* event)
{
    // Coming back to the window shows what it showed before.
    if (event->reason() != Qt::ActiveWindowFocusReason)
        m_showsFocus = event->reason() != Qt::MouseFocusReason;
    QAbstractButton::focusInEvent(event);
}

void CharacterTile::keyPressEvent(QKeyEvent* event)
{
    if (!isEnter(*event)) {
        QAbstractButton::keyPressEvent(event);
        return;
    }
    // On the tile that is on already, Return is the window's.
    event->setAccepted(!isChecked());
    if (!isChecked())
        click();
}

void CharacterTile::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.save();
    painter.scale(scale(), scale());
    drawTile(painter);
    painter.restore();
    painter.drawImage(imageRect().topLeft(), m_image);
}
