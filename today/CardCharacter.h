#pragma once

#include "characters/PixelTheme.h"

#include <QImage>

#include <optional>

/// A character in good spirits in the corner of a card, drawn anew only when its picture changes.
class CardCharacter {
public:
    /// `slot` is the place whose colours it wears.
    CardCharacter(QString slot, QString id);

    /// The theme must outlive this, or its place be taken by another call.
    void setTheme(const PixelTheme* theme);
    void setId(const QString& id);
    void setLively(bool isLively);

    /// Brings `image` up to date. The clock is in seconds, `side` in logical pixels. False when it
    /// stays as it was.
    bool draw(double seconds, qreal side, qreal pixelRatio);
    /// Empty without a theme.
    [[nodiscard]] const QImage& image() const { return m_image; }

private:
    void forget();

    QString m_slot;
    QString m_id;
    const PixelTheme* m_theme = nullptr;
    bool m_isLively = false;
    qreal m_side = 0;
    std::optional<qint64> m_lastFrame; // absent: draw in any case
    QStringList m_lastRows;
    QImage m_image;
};
