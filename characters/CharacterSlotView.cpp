#include "characters/CharacterSlotView.h"

#include "platform/TextFonts.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleHints>

using namespace Qt::StringLiterals;

namespace {

constexpr SlotStyle sizes;

void call(const std::function<void()>& callback)
{
    if (callback)
        callback();
}

} // namespace

CharacterSlotView::CharacterSlotView(QString targetID, QWidget* parent)
    : CharacterTile(parent)
    , m_id(std::move(targetID))
{
    setToolTip(tr("Click, then pick a character below. Double-click to reset."));
    setAccessibleDescription(toolTip());
    connect(this, &QAbstractButton::clicked, this, [this] { call(onActivate); });
}

void CharacterSlotView::setTitle(const QString& title)
{
    m_title = title;
    describe();
    update();
}

void CharacterSlotView::describe()
{
    setAccessibleName(characterName().isEmpty() ? m_title : m_title + u": "_s + characterName());
}

QSize CharacterSlotView::sizeHint() const
{
    return (sizes.size * scale()).toSize();
}

QRectF CharacterSlotView::characterPlace() const
{
    return {(bounds().width() - sizes.characterSide) / 2, sizes.characterTop, sizes.characterSide,
            sizes.characterSide};
}

void CharacterSlotView::drawTile(QPainter& painter) const
{
    const qreal line = isActive() ? sizes.activeLine : sizes.restingLine;
    const QRectF edge = bounds().adjusted(line / 2, line / 2, -line / 2, -line / 2);
    painter.setPen(QPen(
        isActive() ? colors().accent : translucent(colors().label, sizes.restingLineAlpha), line));
    painter.setBrush(isActive() ? translucent(colors().accent, sizes.activeTint)
                                : translucent(colors().label, sizes.restingTint));
    painter.drawRoundedRect(edge, sizes.radius - line / 2, sizes.radius - line / 2);
    drawKeyboardRing(painter, sizes.ringInset, sizes.radius - sizes.ringInset);
    drawLine(painter, m_title, textFont(sizes.titleSize, QFont::Bold), sizes.titleMiddle);
    drawLine(painter, characterName(), textFont(sizes.nameSize, QFont::Medium), sizes.nameMiddle);
}

void CharacterSlotView::drawLine(QPainter& painter, const QString& text, const QFont& font,
                                 qreal middle) const
{
    const QFontMetricsF metrics(font);
    const QRectF room(sizes.textMargin, middle - metrics.height() / 2,
                      bounds().width() - 2 * sizes.textMargin, metrics.height());
    painter.setFont(font);
    painter.setPen(colors().label);
    painter.drawText(room, Qt::AlignCenter, metrics.elidedText(text, Qt::ElideRight, room.width()));
}

void CharacterSlotView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace)
        call(onReset);
    else
        CharacterTile::keyPressEvent(event);
}

void CharacterSlotView::countClick(const QMouseEvent& event)
{
    // Counted here: after a double click the system begins anew, and a fourth click would reset.
    const QStyleHints& hints = *QGuiApplication::styleHints();
    const bool follows = m_clickCount > 0
        && event.timestamp() - m_lastClick <= quint64(hints.mouseDoubleClickInterval())
        && (event.position() - m_lastPlace).manhattanLength() <= hints.mouseDoubleClickDistance();
    m_clickCount = follows ? m_clickCount + 1 : 1;
    m_lastClick = event.timestamp();
    m_lastPlace = event.position();
    call(m_clickCount == 2 ? onReset : onActivate);
}

void CharacterSlotView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        countClick(*event);
}

void CharacterSlotView::mouseDoubleClickEvent(QMouseEvent* event)
{
    mousePressEvent(event);
}

void CharacterSlotView::mouseReleaseEvent(QMouseEvent* event)
{
    event->accept(); // the press did it all
}
