#pragma once

#include "panel/SpeechBubble.h"
#include "platform/DesktopAppearance.h"

#include <QImage>
#include <QWidget>

/// A card of the usage tab with a character on it that may speak. The panel moves the character.
class CharacterCard : public QWidget {
public:
    explicit CharacterCard(QWidget* parent = nullptr)
        : QWidget(parent)
    {
    }

    virtual void setColors(const Palette& palette);
    /// The side of the character's place in widget coordinates, as the desktop's text size has it.
    [[nodiscard]] virtual qreal characterSide() const = 0;
    /// Shows `image` as the character; only its place is painted again.
    void setCharacter(const QImage& image);
    /// What the character says; empty for nothing.
    [[nodiscard]] virtual QString speech() const = 0;
    /// The font in which it says so.
    void setSpeechFont(const QFont& font);
    /// Shows the first `count` characters of what is said; only the bubble is painted again.
    void setRevealCount(int count);
    [[nodiscard]] QSize sizeHint() const override;

protected:
    /// What the card's layout says of the things that all cards have, in points.
    struct Places {
        QRectF character;
        BubbleLayout bubble;
        QSizeF size;
    };

    /// Makes the card's layout anew.
    virtual void measure() = 0;
    [[nodiscard]] virtual Places places() const = 0;

    /// To be called when what the card says has changed.
    void layOut();
    bool event(QEvent* event) override;
    /// `points` in widget coordinates.
    [[nodiscard]] static QRect scaled(const QRectF& points);
    [[nodiscard]] QRect characterRect() const { return scaled(places().character); }
    /// Whether `area` shows nothing but the character and the card's ground around it.
    [[nodiscard]] bool isCharacterOnly(const QRect& area) const;
    /// Draws the bubble, with the painter in points.
    void drawSpeech(QPainter& painter) const;

    [[nodiscard]] const Palette& colors() const { return m_palette; }
    [[nodiscard]] const QImage& character() const { return m_character; }
    [[nodiscard]] const QFont& speechFont() const { return m_speechFont; }

private:
    Palette m_palette;
    QImage m_character;
    QFont m_speechFont;
    int m_revealCount = 0;
};
