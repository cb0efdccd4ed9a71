#pragma once

#include "platform/DesktopAppearance.h"

#include <QFont>
#include <QImage>
#include <QWidget>

/// A card with a character on it that may speak. The panel moves the character.
class CharacterCard : public QWidget {
public:
    using QWidget::QWidget;

    virtual void setColors(const Palette& palette) = 0;
    /// The side of the character's place in widget coordinates, as the desktop's text size has it.
    [[nodiscard]] virtual qreal characterSide() const = 0;
    /// Shows `image` as the character; only its place is painted again.
    virtual void setCharacter(const QImage& image) = 0;
    /// What the character says; empty for nothing.
    [[nodiscard]] virtual QString speech() const = 0;
    /// The font in which it says so.
    virtual void setSpeechFont(const QFont& font) = 0;
    /// Shows the first `count` characters of what is said; only the bubble is painted again.
    virtual void setRevealCount(int count) = 0;
};
