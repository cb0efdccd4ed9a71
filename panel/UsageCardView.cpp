#include "panel/UsageCardView.h"

#include "platform/TextFonts.h"

#include <QEvent>
#include <QPaintEvent>
#include <QPainter>

#include <cmath>

UsageCardView::UsageCardView(QWidget* parent)
    : CharacterCard(parent)
{
    setFocusPolicy(Qt::TabFocus);
}

qreal UsageCardView::characterSide() const
{
    return CardStyle().characterSide * textScale();
}

void UsageCardView::setCard(const UsageCard& card)
{
    if (card == m_card)
        return;
    m_card = card;
    setAccessibleName(card.name);
    setAccessibleDescription(card.spoken());
    layOut();
}

void UsageCardView::layOut()
{
    m_layout = cardLayout(m_card, m_speechFont);
    setFixedHeight(sizeHint().height());
    updateGeometry();
    update();
}

void UsageCardView::setColors(const Palette& palette)
{
    m_palette = palette;
    update();
}

QSize UsageCardView::sizeHint() const
{
    const double scale = textScale();
    return {int(std::ceil(CardStyle().width * scale)), int(std::ceil(m_layout.height * scale))};
}

QRect UsageCardView::scaled(const QRectF& points)
{
    const double scale = textScale();
    return QRectF(points.topLeft() * scale, points.size() * scale).toAlignedRect();
}

QRect UsageCardView::characterRect() const
{
    return scaled(m_layout.character);
}

QRect UsageCardView::bubbleRect() const
{
    return scaled(m_layout.bubble.frame.united(m_layout.bubble.tail.boundingRect()));
}

void UsageCardView::setSpeechFont(const QFont& font)
{
    if (font == m_speechFont)
        return;
    m_speechFont = font;
    layOut();
}

void UsageCardView::setRevealCount(int count)
{
    // Once the line stands there, counting on changes nothing.
    const bool shows = std::min(m_revealCount, count) < m_card.speech.size();
    m_revealCount = count;
    if (shows && !m_card.speech.isEmpty())
        update(bubbleRect());
}

void UsageCardView::setCharacter(const QImage& image)
{
    m_character = image;
    update(characterRect());
}

bool UsageCardView::event(QEvent* event)
{
    // Another font of the desktop's changes every measure.
    if (event->type() == QEvent::ApplicationFontChange || event->type() == QEvent::FontChange)
        layOut();
    return QWidget::event(event);
}

void UsageCardView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    if (characterRect().contains(event->rect())) {
        // One more frame of the character: there is nothing but the card's ground around it.
        painter.fillRect(event->rect(), m_palette.cardBackground);
    } else {
        const double scale = textScale();
        painter.scale(scale, scale);
        drawCard(painter, m_card, m_layout, m_palette);
        drawBubble(painter, m_card.speech, m_revealCount, m_speechFont, m_layout.bubble, m_palette);
        if (hasFocus())
            drawCardFocus(painter, m_layout.frame, m_palette);
        painter.resetTransform();
    }
    painter.drawImage(characterRect().topLeft(), m_character);
}
