#pragma once

#include "panel/CharacterCard.h"
#include "panel/UsageCard.h"

/// One service's card. It can be reached by keyboard and tells a screen reader what it says.
class UsageCardView final : public CharacterCard {
    Q_OBJECT

public:
    explicit UsageCardView(QWidget* parent = nullptr);

    void setCard(const UsageCard& card);
    [[nodiscard]] qreal characterSide() const override;
    [[nodiscard]] QString speech() const override { return m_card.speech; }

    [[nodiscard]] const UsageCard& card() const { return m_card; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void measure() override;
    [[nodiscard]] Places places() const override;

private:
    UsageCard m_card;
    CardLayout m_layout;
};
