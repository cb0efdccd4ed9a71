#include "panel/WelcomeMascot.h"

#include "platform/Characters.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace {

constexpr WelcomeMascotStyle sizes;

} // namespace

WelcomeMascot::WelcomeMascot(const QFont& speechFont, double scale, QWidget* parent)
    : QWidget(parent)
    , m_font(speechFont)
    , m_scale(scale)
    , m_palette(paletteFor(ColorScheme::light))
{
    setFixedHeight(sizeHint().height());
}

QSize WelcomeMascot::sizeHint() const
{
    const int side = int(std::ceil(sizes.side * m_scale));
    return {side, side};
}

void WelcomeMascot::setColors(const Palette& palette)
{
    m_palette = palette;
    update();
}

void WelcomeMascot::say(const QString& text)
{
    m_text = text;
    m_typed = 0;
    setAccessibleName(text);
    update();
}

void WelcomeMascot::typeOn(int count)
{
    if (!isTyping())
        return;
    m_typed += std::min(count, int(m_text.size()) - m_typed);
    update(bubbleRect().toAlignedRect());
}

bool WelcomeMascot::isTyping() const
{
    return m_typed < m_text.size();
}

void WelcomeMascot::animate(const PixelTheme& theme, const QString& id,
                            const CharacterAnimation& animation)
{
    const double ratio = devicePixelRatioF();
    const double side = std::round(sizes.side * m_scale * ratio) / ratio;
    if (const auto next = m_character.next(theme, id, animation, side, ratio)) {
        m_image = *next;
        update(characterRect());
    }
}

QRect WelcomeMascot::characterRect() const
{
    const int side = int(std::ceil(sizes.side * m_scale));
    return {(width() - side) / 2, 0, side, side};
}

QRectF WelcomeMascot::bubbleRect() const
{
    const qreal text = QFontMetricsF(m_font).horizontalAdvance(m_text);
    const qreal left = characterRect().right() + sizes.bubbleGap * m_scale;
    const qreal height = sizes.bubbleHeight * m_scale;
    return {left, sizes.bubbleMiddle * m_scale - height / 2,
            text + 2 * sizes.bubblePadding * m_scale, height};
}

void WelcomeMascot::drawBubble(QPainter& painter) const
{
    const QRectF bubble = bubbleRect();
    const qreal middle = bubble.center().y();
    const qreal tail = sizes.tailHeight * m_scale / 2;
    QPainterPath body;
    body.addRoundedRect(bubble, sizes.bubbleRadius * m_scale, sizes.bubbleRadius * m_scale);
    QPainterPath pointer(QPointF(bubble.left() - sizes.tailWidth * m_scale, middle + tail));
    pointer.lineTo(bubble.left() + 1, middle - tail);
    pointer.lineTo(bubble.left() + 1, middle + tail);
    pointer.closeSubpath();
    painter.setPen(QPen(m_palette.separator, 1));
    painter.setBrush(m_palette.cardBackground);
    painter.drawPath(body.united(pointer));
    painter.setPen(m_palette.label);
    painter.setFont(m_font);
    painter.drawText(bubble.adjusted(sizes.bubblePadding * m_scale, 0, 0, 0),
                     int(Qt::AlignLeft) | Qt::AlignVCenter, firstCharacters(m_text, m_typed));
}

void WelcomeMascot::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.drawImage(characterRect().topLeft(), m_image);
    if (!m_text.isEmpty())
        drawBubble(painter);
}
