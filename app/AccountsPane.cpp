#include "app/AccountsPane.h"

#include "app/SettingsControls.h"
#include "platform/Files.h"
#include "usage/ClaudeSetup.h"
#include "usage/CodexSnapshot.h"
#include "usage/KeychainStore.h"
#include "usage/ProviderRegistry.h"
#include "usage/UsageTexts.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <QtConcurrentRun>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int longestKey = 10'000; // characters

class Texts {
    Q_DECLARE_TR_FUNCTIONS(AccountsPane)
};

QString keyPrompt(const QString& id)
{
    if (id == "openrouter"_L1)
        return Texts::tr("Key from ") + u"openrouter.ai/keys"_s;
    if (id == "zai"_L1)
        return Texts::tr("GLM Coding Plan API key");
    if (id == "ollama"_L1)
        return Texts::tr("Ollama Cloud API key");
    return Texts::tr("GitHub token, or gh auth login");
}

QString lastHeard(const ServiceUsage& usage, Date now)
{
    return Texts::tr("Connected. Last heard %1.").arg(relativeAge(*usage.observed, now));
}

} // namespace

QString claudeStatus(bool isConnected, const QByteArray& settings, const ServiceUsage& usage,
                     Date now)
{
    if (!isConnected)
        return Texts::tr("Not connected.");
    if (!usage.current(now).isEmpty())
        return lastHeard(usage, now);
    const QJsonObject members = QJsonDocument::fromJson(settings).object();
    if (members.value("disableAllHooks"_L1).toBool())
        return Texts::tr("Connected, but \"disableAllHooks\" in Claude Code's settings keeps it "
                         "from running any status line.");
    if (usage.observed)
        return lastHeard(usage, now) + u' '
            + Texts::tr("It reports again with its next answer in a terminal.");
    return Texts::tr("Connected. Claude Code reports its limits with its first answer in a "
                     "terminal. If it already gave one, it may use another settings folder "
                     "(CLAUDE_CONFIG_DIR), or the project has a status line of its own.");
}

QString codexStatus(const std::optional<QString>& binary, const ServiceUsage& usage, Date now)
{
    if (!binary)
        return Texts::tr("Codex was not found. Install it and log in with codex login.");
    const QString place = Texts::tr("Found at %1.").arg(*binary) + u' ';
    if (usage.error == CodexSnapshot::loginMessage())
        return place + Texts::tr("Not signed in: run codex login.");
    if (usage.error)
        return place + *usage.error;
    if (usage.observed)
        return place
            + Texts::tr("Signed in. Last heard %1.").arg(relativeAge(*usage.observed, now));
    return place + Texts::tr("Not asked yet.");
}

AccountsPane::AccountsPane(SettingsDraft& draft, const Facilities& facilities)
    : SettingsPane(draft)
    , m_facilities(facilities)
    , m_claude(new SettingsNote({}))
    , m_connect(new QPushButton)
    , m_codex(new SettingsNote({}))
{
    auto* column = new QVBoxLayout(this);
    column->addWidget(new SettingsHeading(tr("CLAUDE CODE")));
    auto* row = new QHBoxLayout;
    row->addWidget(m_claude, 1);
    row->addWidget(m_connect);
    column->addLayout(row);
    connect(m_connect, &QPushButton::clicked, this, [this] { onConnectClaude(); });
    column->addWidget(new SettingsHeading(tr("CODEX")));
    column->addWidget(m_codex);
    for (const ProviderDefinition& provider : facilities.registry.visible()) {
        if (ProviderRegistry::snapshotReaders().contains(provider.id))
            addAccount(provider.id, provider.name);
    }
    column->addStretch();
}

AccountsPane::~AccountsPane()
{
    m_workers.waitForDone();
}

void AccountsPane::addAccount(const QString& id, const QString& name)
{
    const Account account{.id = id,
                          .field = new QLineEdit,
                          .save = new QPushButton(tr("Save")),
                          .remove = new QPushButton(tr("Remove")),
                          .status = new SettingsNote({})};
    account.field->setEchoMode(QLineEdit::Password);
    account.field->setMaxLength(longestKey);
    account.field->setPlaceholderText(keyPrompt(id));
    account.field->setAccessibleName(tr("Key of %1").arg(name));
    account.save->setAccessibleName(tr("Save the key of %1").arg(name));
    account.remove->setAccessibleName(tr("Remove the key of %1").arg(name));
    account.save->setEnabled(false);
    account.remove->setEnabled(false);

    auto* column = static_cast<QVBoxLayout*>(layout());
    column->addWidget(new SettingsHeading(name.toUpper()));
    auto* row = new QHBoxLayout;
    row->addWidget(account.field, 1);
    row->addWidget(account.save);
    row->addWidget(account.remove);
    column->addLayout(row);
    column->addWidget(account.status);
    m_accounts.append(account);
    connect(account.field, &QLineEdit::textChanged, account.save, [account](const QString& text) {
        account.save->setEnabled(!text.trimmed().isEmpty());
    });
    connect(account.save, &QPushButton::clicked, this, [this, account] { saveKey(account); });
    connect(account.remove, &QPushButton::clicked, this,
            [this, account] { removeAccountKey(account); });
}

const AccountsPane::Account* AccountsPane::account(const QString& id) const
{
    const auto found = std::ranges::find(m_accounts, id, &Account::id);
    return found == m_accounts.end() ? nullptr : &*found;
}

void AccountsPane::load()
{
    for (const Account& account : std::as_const(m_accounts)) {
        account.field->clear();
        askForKey(account);
    }
    refreshAccountStatus();
}

void AccountsPane::refreshAccountStatus()
{
    const bool isConnected = m_facilities.claudeSetup.isConnected();
    const QByteArray settings = readFile(ClaudeSetup::settingsPath()).contents;
    m_claude->setText(claudeStatus(isConnected, settings, m_facilities.usage(u"claude"_s)));
    m_connect->setText(isConnected ? tr("Disconnect…") : tr("Connect…"));
    m_connect->setAccessibleName(isConnected ? tr("Disconnect Claude Code")
                                             : tr("Connect Claude Code"));
    m_codex->setText(codexStatus(CodexSnapshot::codexBinary(), m_facilities.usage(u"codex"_s)));
    for (const Account& each : std::as_const(m_accounts)) {
        if (m_hasKey.contains(each.id) && each.field->isEnabled())
            showKey(each.id, m_hasKey.value(each.id));
    }
}

void AccountsPane::askForKey(const Account& account)
{
    QtConcurrent::run(&m_workers, [&keychain = m_facilities.keychain, id = account.id] {
        return keychain.key(id).has_value();
    }).then(this, [this, id = account.id](bool isThere) { showKey(id, isThere); });
}

void AccountsPane::showKey(const QString& id, bool isThere)
{
    const Account* shown = account(id);
    m_hasKey.insert(id, isThere);
    const ServiceUsage usage = m_facilities.usage(id);
    QString text = isThere ? tr("A key is stored.") : tr("No key is stored.");
    if (usage.error)
        text += u' ' + *usage.error;
    shown->status->setText(text);
    shown->remove->setEnabled(isThere);
}

void AccountsPane::setBusy(const Account& account, bool isBusy)
{
    account.field->setEnabled(!isBusy);
    account.save->setEnabled(!isBusy && !account.field->text().trimmed().isEmpty());
    account.remove->setEnabled(!isBusy);
    if (isBusy)
        account.status->setText(tr("Waiting for the key store…"));
}

void AccountsPane::saveAccountKeys()
{
    for (const Account& account : std::as_const(m_accounts)) {
        if (account.field->isEnabled() && !account.field->text().trimmed().isEmpty())
            saveKey(account);
    }
}

void AccountsPane::saveKey(const Account& account)
{
    const QString key = account.field->text();
    setBusy(account, true);
    QtConcurrent::run(&m_workers, [&keychain = m_facilities.keychain, key, id = account.id] {
        return keychain.setKey(key, id);
    }).then(this, [this, account](bool isStored) {
        if (isStored)
            account.field->clear();
        setBusy(account, false);
        if (isStored) {
            showKey(account.id, true);
            onKeyStored(account.id);
        } else {
            account.status->setText(tr("The key could not be stored: the desktop's key store is "
                                       "missing or locked, or it refused."));
        }
    });
}

void AccountsPane::removeAccountKey(const Account& account)
{
    setBusy(account, true);
    QtConcurrent::run(&m_workers, [&keychain = m_facilities.keychain, id = account.id] {
        return keychain.removeKey(id);
    }).then(this, [this, account](bool isGone) {
        setBusy(account, false);
        showKey(account.id, !isGone);
        if (!isGone)
            account.status->setText(tr("The key could not be removed."));
    });
}
