#pragma once

#include "app/SettingsPane.h"

class AddressOpener;
class AppUpdater;
class CrashReports;
class QLabel;
class QMessageBox;
class QPushButton;
class ToggleSwitch;

/// The version, updates, the welcome again, and feedback.
class AboutPane final : public SettingsPane {
    Q_OBJECT

public:
    /// What the pane's buttons work with; everything outlives it.
    struct Facilities {
        AppUpdater& updater;
        AddressOpener& opener;
        const CrashReports& crashReports;
    };

    AboutPane(SettingsDraft& draft, const Facilities& facilities);

    void load() override { }
    void setColors(const Palette& palette) override;
    /// Says that the program crashed since the last start, and where the report `path` lies.
    void tellOfCrash(const QString& path);

    std::function<void()> onShowWelcome;

private:
    void checkForUpdates();
    void sendFeedback();
    void showCrashReports();
    QMessageBox* showMessage(const QString& message, const QString& informativeText);

    Facilities m_facilities;
    ToggleSwitch* m_automatic;
    QPushButton* m_check;
    QLabel* m_crash;
    Palette m_palette;
};
