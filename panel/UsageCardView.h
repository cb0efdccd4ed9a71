#pragma once

#include "panel/UsageCard.h"
#include "platform/DesktopAppearance.h"

#include <QImage>
#include <QWidget>

/// One service's card. It can be reached by keyboard and tells a screen reader what it says.
class UsageCardView : public QWidget {
    Q_OBJECT

public:
    explicit UsageCardView(QWidget* parent = nullptr);

    void setCard(const UsageCard& card);
    void setColors(const Palette& palette);
    /// Shows `image` as the character; only its place is painted again.
    void setCharacter(const QImage& image);
    /// The font in which the character speaks.
    void setSpeechFont(const QFont& font);
    /// Shows the first `count` characters of what is said; only the bubble is painted again.
    void setRevealCount(int count);

    [[nodiscard]] const UsageCard& card() const { return m_card; }
    /// The side of the character's place in widget coordinates, as the desktop's text size has it.
    [[nodiscard]] static qreal characterSide();
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
