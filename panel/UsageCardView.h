#pragma once

#include "panel/CharacterCard.h"
#include "panel/UsageCard.h"

/// One service's card. It can be reached by keyboard and tells a screen reader what it says.
class UsageCardView final : public CharacterCard {
    Q_OBJECT

public:
    explicit UsageCardView(QWidget* parent = nullptr);

    void setCard(const UsageCard& card);
    void setColors(const Palette& palette) override;
    [[nodiscard]] qreal characterSide() const override;
    void setCharacter(const QImage& image) override;
    [[nodiscard]] QString speech() const override { return m_card.speech; }
    void setSpeechFont(const QFont& font) override;
    void setRevealCount(int count) override;

    [[nodiscard]] const UsageCard& card() const { return m_card; }
    [[nodiscard]] QSize sizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void layOut();
    [[nodiscard]] QRect characterRect() const;
    [[nodiscard]] QRect bubbleRect() const;
    [[nodiscard]] static QRect scaled(const QRectF& points);

    UsageCard m_card;
    CardLayout m_layout;
    Palette m_palette;
    QImage m_character;
    QFont m_speechFont;
    int m_revealCount = 0;
};
