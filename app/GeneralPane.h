#pragma once

#include "app/SettingsPane.h"

#include <QList>

class LoginItem;
class QLineEdit;
class QVBoxLayout;
class ToggleSwitch;

/// Speech, start at login, the first tab's name, and what stands on it in which order.
class GeneralPane final : public SettingsPane {
    Q_OBJECT

public:
    /// The desktop keeps the start at login, not the draft.
    GeneralPane(SettingsDraft& draft, LoginItem& loginItem);

    void load() override;
    void setColors(const Palette& palette) override;

    /// For made-up figures, which nobody wants at login.
    void disableLogin();
    /// Applies the login switch. Gives what went wrong, or nothing.
    [[nodiscard]] std::optional<QString> saveLogin();

private:
    ToggleSwitch* addSwitch(QVBoxLayout* column, const QString& title, const QString& caption,
                            bool SettingsDraft::*member);
    void loadRows();
    QWidget* makeRow(const QString& id);

    [[nodiscard]] bool startsAtLogin() const;

    LoginItem& m_loginItem;
    QList<std::pair<ToggleSwitch*, bool SettingsDraft::*>> m_switches;
    ToggleSwitch* m_login;
    QLineEdit* m_tabName;
    QVBoxLayout* m_rows;
    Palette m_palette;
};
