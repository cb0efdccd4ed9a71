#pragma once

#include "characters/CharacterTile.h"

#include <functional>

/// Sizes of a character's tile in points.
struct ChoiceTileStyle {
    QSizeF size{88, 98};
    qreal radius = 10;
    qreal characterSide = 58;
    qreal characterTop = 8;
    qreal nameMiddle = 81; // from the tile's top
    qreal nameMiddleWithBadges = 75;
    qreal textMargin = 6; // from the tile's sides
    qreal nameSize = 11;
    qreal badgeMiddle = 88;
    qreal badgePadding = 5; // from the badge's sides to its text
    qreal badgeHeight = 12;
    qreal badgeGap = 3; // between badges
    qreal badgeSize = 9;
    qreal selectedTint = 0.16; // of the accent colour
    qreal hoverTint = 0.05; // of the label colour
    qreal ringInset = 3.5;
};

/// One character that can be picked.
class CharacterChoiceView : public CharacterTile {
    Q_OBJECT

public:
    explicit CharacterChoiceView(QString characterID, QWidget* parent = nullptr);

    void setSelected(bool isSelected) { setOn(isSelected); }
    /// Short labels below the name. Those for which there is no room are counted; all are in the
    /// tooltip, and said to a screen reader.
    void setBadges(const QStringList& badges);

    [[nodiscard]] const QString& characterID() const { return m_id; }
    [[nodiscard]] bool isSelected() const { return isChecked(); }
    [[nodiscard]] const QStringList& badges() const { return m_badges; }
    [[nodiscard]] QSize sizeHint() const override;

    /// Called with the character's id when it is clicked or picked by key.
    std::function<void(const QString& id)> onSelect;

protected:
    [[nodiscard]] QRectF characterPlace() const override;
    void drawTile(QPainter& painter) const override;
    void describe() override;

private:
    void drawName(QPainter& painter) const;
    void drawBadges(QPainter& painter) const;
    [[nodiscard]] QStringList shownBadges(const QFontMetricsF& metrics) const;

    QString m_id;
    QStringList m_badges;
};
