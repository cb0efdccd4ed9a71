#include "panel/UsageCardView.h"

#include "platform/TextFonts.h"

#include <QPaintEvent>
#include <QPainter>

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

void UsageCardView::measure()
{
    m_layout = cardLayout(m_card, speechFont());
}

CharacterCard::Places UsageCardView::places() const
{
    return {.character = m_layout.character,
            .bubble = m_layout.bubble,
            .size = {CardStyle().width, m_layout.height}};
}

void UsageCardView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    if (isCharacterOnly(event->rect())) {
        painter.fillRect(event->rect(), colors().cardBackground);
    } else {
        painter.scale(textScale(), textScale());
        drawCard(painter, m_card, m_layout, colors());
        drawSpeech(painter);
        if (hasFocus())
            drawCardFocus(painter, m_layout.frame, colors());
        painter.resetTransform();
    }
    painter.drawImage(characterRect().topLeft(), character());
}
