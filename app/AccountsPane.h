#pragma once

#include "app/SettingsPane.h"
#include "usage/ServiceUsage.h"

#include <QHash>
#include <QList>
#include <QThreadPool>

class ClaudeSetup;
class KeychainStore;
class ProviderRegistry;
class QLabel;
class QLineEdit;
class QPushButton;

/// What is to be said of Claude Code's connection, in one plain sentence.
///
/// `settings` are the bytes of its settings file; `usage` is what it last sent.
[[nodiscard]] QString claudeStatus(bool isConnected, const QByteArray& settings,
                                   const ServiceUsage& usage, Date now = currentDate());

/// The same of Codex, found at `binary`, if anywhere.
[[nodiscard]] QString codexStatus(const std::optional<QString>& binary, const ServiceUsage& usage,
                                  Date now = currentDate());

/// Where the figures come from: Claude Code, Codex, and the keys of further services.
class AccountsPane final : public SettingsPane {
    Q_OBJECT

public:
    /// What the pane works with; everything outlives it.
    struct Facilities {
        const ProviderRegistry& registry;
        KeychainStore& keychain;
        const ClaudeSetup& claudeSetup;
        std::function<ServiceUsage(const QString& id)> usage; // the last record of a service
    };

    AccountsPane(SettingsDraft& draft, const Facilities& facilities);
    ~AccountsPane() override;

    void load() override;
    void setColors(const Palette&) override { }
    /// Brings the status texts up to date.
    void refreshAccountStatus();
    /// Stores the keys that were typed.
    void saveAccountKeys();

    std::function<void()> onConnectClaude; // or disconnect
    std::function<void(const QString& id)> onKeyStored;

private:
    struct Account {
        QString id;
        QLineEdit* field;
        QPushButton* save;
        QPushButton* remove;
        QLabel* status;
    };

    void addAccount(const QString& id, const QString& name);
    void saveKey(const Account& account);
    void removeAccountKey(const Account& account);
    void askForKey(const Account& account);
    void showKey(const QString& id, bool isThere);
    void setBusy(const Account& account, bool isBusy);
    [[nodiscard]] const Account* account(const QString& id) const;

    Facilities m_facilities;
    QLabel* m_claude;
    QPushButton* m_connect;
    QLabel* m_codex;
    QList<Account> m_accounts;
    QHash<QString, bool> m_hasKey; // by id, as far as the key store has told
    QThreadPool m_workers; // the key store may wait for the user
};
