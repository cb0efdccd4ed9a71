#include "today/ShelfRowButton.h"

#include "platform/TextFonts.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <cmath>

ShelfRowButton::ShelfRowButton(QWidget* parent)
    : QAbstractButton(parent)
{
    setMouseTracking(true);
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::ClickFocus); // the view lets Tab reach one row alone
}

void ShelfRowButton::setRow(const ShelfRow& row)
{
    if (row.id != m_row.id) {
        m_icon = {};
        m_hasAskedForIcon = false;
    }
    m_row = row;
    setAccessibleName(row.title);
    setAccessibleDescription(row.toolTip);
    setToolTip(row.toolTip);
    update();
}

void ShelfRowButton::setIcon(const ShelfRowIcon& icon)
{
    m_icon = icon;
    update();
}

void ShelfRowButton::setColors(const Palette& palette)
{
    m_palette = palette;
    update();
}

QSize ShelfRowButton::sizeHint() const
{
    return {width(), int(std::ceil(ShelfRowStyle().height * textScale()))};
}

ShelfRowLayout ShelfRowButton::layout() const
{
    return shelfRowLayout(m_row, width() / textScale());
}

bool ShelfRowButton::isOnCross(QPointF place) const
{
    return layout().remove.contains(place / textScale());
}

QPixmap ShelfRowButton::iconPicture() const
{
    const QRectF icon = layout().icon;
    const double scale = textScale();
    QPixmap picture((icon.size() * scale * devicePixelRatioF()).toSize());
    picture.setDevicePixelRatio(devicePixelRatioF());
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.scale(scale, scale);
    painter.translate(-icon.topLeft());
    ShelfRow bare = m_row;
    bare.title.clear();
    bare.age.clear();
    drawShelfRow(painter, bare, m_icon, layout(), {}, m_palette);
    return picture;
}

bool ShelfRowButton::event(QEvent* event)
{
    if (event->type() == QEvent::HoverMove)
        update(); // the cross answers to the mouse
    return QAbstractButton::event(event);
}

void ShelfRowButton::contextMenuEvent(QContextMenuEvent* event)
{
    onMenu(event->globalPos());
}

void ShelfRowButton::keyPressEvent(QKeyEvent* event)
{
    // Left to themselves, a button and the scroll area around it have rules of their own for keys.
    if (event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier)
        click();
    else
        onKey(event);
}

void ShelfRowButton::mousePressEvent(QMouseEvent* event)
{
    m_isRemoving = event->button() == Qt::LeftButton && isOnCross(event->position());
    m_pressedAt = event->position();
    if (!m_isRemoving)
        QAbstractButton::mousePressEvent(event);
}

void ShelfRowButton::mouseMoveEvent(QMouseEvent* event)
{
    const QPointF moved = event->position() - m_pressedAt;
    const bool isDrag = isDown() && moved.manhattanLength() >= QApplication::startDragDistance();
    if (isDrag) {
        setDown(false); // so that letting go copies nothing
        onDrag();
    } else if (!m_isRemoving) {
        QAbstractButton::mouseMoveEvent(event);
    }
}

void ShelfRowButton::mouseReleaseEvent(QMouseEvent* event)
{
    if (!m_isRemoving)
        QAbstractButton::mouseReleaseEvent(event);
    else if (isOnCross(event->position()))
        onRemove();
    m_isRemoving = false;
}

void ShelfRowButton::paintEvent(QPaintEvent*)
{
    if (m_icon.isEmpty() && !m_hasAskedForIcon) {
        m_hasAskedForIcon = true;
        onIconWanted();
    }
    QPainter painter(this);
    painter.scale(textScale(), textScale());
    const ShelfRowState state{
        .isHovered = underMouse(),
        .isPressed = isDown(),
        .hasFocus = hasFocus(),
        .isRemoveHovered = underMouse() && isOnCross(mapFromGlobal(QCursor::pos())),
    };
    drawShelfRow(painter, m_row, m_icon, layout(), state, m_palette);
}
