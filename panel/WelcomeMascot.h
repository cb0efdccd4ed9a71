#pragma once

#include "characters/AnimatedCharacter.h"
#include "platform/DesktopAppearance.h"

#include <QFont>
#include <QWidget>

/// Sizes of the character that welcomes, and of its bubble, in points.
struct WelcomeMascotStyle {
    qreal side = 64;
    qreal bubbleGap = 12; // from the character to the bubble's body
    qreal bubbleHeight = 26;
    qreal bubblePadding = 10;
    qreal bubbleRadius = 6;
    qreal bubbleMiddle = 24; // from the top
    qreal tailWidth = 7;
    qreal tailHeight = 8;
    qreal textSize = 16;
};

/// The large character in the middle, with a bubble beside it in which it speaks.
class WelcomeMascot : public QWidget {
    Q_OBJECT

public:
    /// Everything is `scale` times its usual size; `speechFont` has its size already.
    WelcomeMascot(const QFont& speechFont, double scale, QWidget* parent = nullptr);

    void setColors(const Palette& palette);
    /// Says `text` from its first letter on.
    void say(const QString& text);
    /// Shows that many more characters of what is said.
    void typeOn(int count);
    /// Shows the character `id` at this moment.
    void animate(const PixelTheme& theme, const QString& id, const CharacterAnimation& animation);

    [[nodiscard]] bool isTyping() const;
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QRect characterRect() const;
    [[nodiscard]] QRectF bubbleRect() const;
    void drawBubble(QPainter& painter) const;

    QFont m_font;
    double m_scale;
    Palette m_palette;
    AnimatedCharacter m_character;
    QImage m_image;
    QString m_text;
    int m_typed = 0; // characters
};
