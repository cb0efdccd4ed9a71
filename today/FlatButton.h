#pragma once

#include "platform/DesktopAppearance.h"

#include <QPushButton>

/// A button that is only its text until the pointer or the keyboard comes. A double click counts
/// once, and no click takes the keyboard from where it is.
class FlatButton : public QPushButton {
public:
    FlatButton(const QString& text, QWidget* parent);

    /// Sizes in points: of the text, and from the button's edge to it.
    static constexpr qreal textSize = 11;
    static constexpr qreal padding = 6;

    /// `isStrong` lifts it out from the text beside it.
    void setLook(const Palette& palette, bool isStrong);
    /// The width in points that the button takes with `text`.
    [[nodiscard]] static qreal width(const QString& text, bool isStrong);
    using QPushButton::width;

protected:
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    Palette m_palette;
    bool m_isStrong = false;
};
