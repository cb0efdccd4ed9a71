#include "panel/CharacterCard.h"

#include "platform/TextFonts.h"

#include <QEvent>

#include <algorithm>
#include <cmath>

void CharacterCard::setColors(const Palette& palette)
{
    m_palette = palette;
    update();
}

void CharacterCard::setCharacter(const QImage& image)
{
    m_character = image;
    update(characterRect());
}

void CharacterCard::setSpeechFont(const QFont& font)
{
    if (font == m_speechFont)
        return;
    m_speechFont = font;
    layOut();
}

void CharacterCard::setRevealCount(int count)
{
    // Once the line stands there, counting on changes nothing.
    const bool shows = std::min(m_revealCount, count) < speech().size();
    m_revealCount = count;
    const BubbleLayout bubble = places().bubble;
    if (shows && !speech().isEmpty())
        update(scaled(bubble.frame.united(bubble.tail.boundingRect())));
}

QSize CharacterCard::sizeHint() const
{
    const QSizeF size = places().size * textScale();
    return {int(std::ceil(size.width())), int(std::ceil(size.height()))};
}

void CharacterCard::layOut()
{
    measure();
    setFixedHeight(sizeHint().height());
    updateGeometry();
    update();
}

bool CharacterCard::event(QEvent* event)
{
    // Another font of the desktop's changes every measure.
    if (event->type() == QEvent::ApplicationFontChange || event->type() == QEvent::FontChange)
        layOut();
    return QWidget::event(event);
}

QRect CharacterCard::scaled(const QRectF& points)
{
    const double scale = textScale();
    return QRectF(points.topLeft() * scale, points.size() * scale).toAlignedRect();
}

bool CharacterCard::isCharacterOnly(const QRect& area) const
{
    return characterRect().contains(area);
}

void CharacterCard::drawSpeech(QPainter& painter) const
{
    drawBubble(painter, speech(), m_revealCount, m_speechFont, places().bubble, m_palette);
}
