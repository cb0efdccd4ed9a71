#pragma once

#include "platform/DesktopAppearance.h"

#include <QAbstractButton>
#include <QImage>

/// The pickers' common ground: a rounded tile with a character that one of several can be.
///
/// One of the tiles of a parent is on at most; it is the one that Tab leads to, and the arrow keys
/// go from tile to tile as among radio buttons, which a screen reader takes them for. Who picks
/// what is the owner's matter: a tile never switches itself.
class CharacterTile : public QAbstractButton {
    Q_OBJECT

public:
    explicit CharacterTile(QWidget* parent = nullptr);

    void setColors(const Palette& palette);
    /// How much larger than usual everything is; `textScale` until set.
    void setScale(double scale);
    void setCharacterName(const QString& name);
    /// Shows `image`, `characterSide` points square; only its place is painted again.
    void setCharacterImage(const QImage& image);

    [[nodiscard]] const QString& characterName() const { return m_name; }
    [[nodiscard]] const QImage& characterImage() const { return m_image; }
    [[nodiscard]] double scale() const;
    /// The side of the picture in widget coordinates, whole pixels of the screen.
    [[nodiscard]] double characterSide() const;

    /// Makes this the one among its siblings that Tab leads to.
    void becomeTabStop();

protected:
    /// The picture's place in points, from the tile's top left corner.
    [[nodiscard]] virtual QRectF characterPlace() const = 0;
    /// Draws what stands around the character, in points.
    virtual void drawTile(QPainter& painter) const = 0;
    /// What a screen reader says.
    virtual void describe() = 0;

    void setOn(bool isOn);
    void relayOut();
    [[nodiscard]] QRectF bounds() const; // in points
    [[nodiscard]] const Palette& colors() const { return m_palette; }
    [[nodiscard]] bool isHovered() const { return m_isHovered; }
    void drawKeyboardRing(QPainter& painter, qreal inset, qreal radius) const;

    bool event(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void nextCheckState() override { }
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QRect imageRect() const;
    void setHovered(bool isHovered);

    Palette m_palette = paletteFor(ColorScheme::light);
    QString m_name;
    QImage m_image;
    double m_scale = 0; // 0: the desktop's
    bool m_isHovered = false;
    bool m_showsFocus = false;
};

/// `color` with the given share (0 to 1) of opacity.
[[nodiscard]] QColor translucent(QColor color, qreal share);
