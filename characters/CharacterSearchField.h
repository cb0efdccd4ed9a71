#pragma once

#include "platform/DesktopAppearance.h"

#include <QLineEdit>

/// Sizes of the search field in points.
struct SearchFieldStyle {
    qreal textSize = 12;
    qreal radius = 7;
    qreal padding = 6; // above and below the text
    qreal lensSide = 9;
    qreal lensHandle = 4;
    qreal lensLeft = 9;
    qreal textLeft = 26;
    qreal line = 1.5; // of the lens
};

/// A line to search in, with a lens at its left.
class CharacterSearchField : public QLineEdit {
    Q_OBJECT

public:
    explicit CharacterSearchField(QWidget* parent = nullptr);

    /// Takes the colours and the desktop's text size.
    void setColors(const Palette& palette);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void drawLens(QPainter& painter, double scale) const;

    Palette m_palette;
};
