#pragma once

#include "app/SettingsPane.h"

#include <QHash>

class ColorWell;
class QPushButton;
class ToggleSwitch;
struct PixelTheme;

/// The colours of the cards and of the System page.
class ThemePane final : public SettingsPane {
    Q_OBJECT

public:
    /// A well for each card with an id among the draft's rows; `theme` tells the original colours
    /// and must outlive the pane.
    ThemePane(SettingsDraft& draft, const PixelTheme& theme);

    void load() override;
    void setColors(const Palette& palette) override;

private:
    [[nodiscard]] QColor originalColor(const QString& id) const;
    ColorWell* makeWell(const QString& id);

    const PixelTheme& m_theme;
    QHash<QString, ColorWell*> m_wells; // by card, and "system"
    ToggleSwitch* m_matches;
    QPushButton* m_reset;
};
