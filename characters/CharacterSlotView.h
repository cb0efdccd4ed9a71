#pragma once

#include "characters/CharacterTile.h"

#include <functional>

/// Sizes of a place's tile in points.
struct SlotStyle {
    QSizeF size{84, 82};
    qreal radius = 9;
    qreal titleMiddle = 13; // from the tile's top
    qreal titleSize = 8;
    qreal characterTop = 23;
    qreal characterSide = 36;
    qreal nameMiddle = 69;
    qreal nameSize = 9;
    qreal textMargin = 6; // from the tile's sides
    qreal activeTint = 0.16; // of the accent colour
    qreal activeLine = 2;
    qreal restingTint = 0.04; // of the label colour
    qreal restingLine = 1;
    qreal restingLineAlpha = 0.22; // of the label colour
    qreal ringInset = 3.5;
};

/// One place that a character can be in: the menu bar, or a card.
///
/// A click or Space makes it the one that the next pick goes to; a double click, Delete or
/// Backspace puts its usual character back.
class CharacterSlotView : public CharacterTile {
    Q_OBJECT

public:
    explicit CharacterSlotView(QString targetID, QWidget* parent = nullptr);

    void setTitle(const QString& title);
    void setActive(bool isActive) { setOn(isActive); }

    [[nodiscard]] const QString& targetID() const { return m_id; }
    [[nodiscard]] const QString& title() const { return m_title; }
    [[nodiscard]] bool isActive() const { return isChecked(); }
    [[nodiscard]] QSize sizeHint() const override;

    std::function<void()> onActivate;
    std::function<void()> onReset;

protected:
    [[nodiscard]] QRectF characterPlace() const override;
    void drawTile(QPainter& painter) const override;
    void describe() override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void countClick(const QMouseEvent& event);
    void drawLine(QPainter& painter, const QString& text, const QFont& font, qreal middle) const;

    QString m_id;
    QString m_title;
    int m_clickCount = 0;
    quint64 m_lastClick = 0; // time of the event, in milliseconds
    QPointF m_lastPlace;
};
