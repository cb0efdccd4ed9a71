#pragma once

#include <QFont>
#include <QString>

#include <optional>

/// The pixel font of the speech bubbles.
class SpeechFont {
public:
    /// The font lies below `resources`; it is registered when it is first asked for.
    explicit SpeechFont(QString resources);

    /// The font at `size` logical pixels; the desktop's fixed font where it is missing.
    [[nodiscard]] QFont font(double size) const;

private:
    [[nodiscard]] const QString& family() const;

    QString m_resources;
    mutable std::optional<QString> m_family; // empty when it is missing
};
