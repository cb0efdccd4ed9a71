#pragma once

#include "app/AppDelegate.h"
#include "app/AppUpdater.h"
#include "platform/AddressOpener.h"
#include "platform/CrashReports.h"
#include "platform/DesktopAppearance.h"
#include "platform/LoginItem.h"
#include "platform/Notifier.h"
#include "platform/PreferenceStore.h"
#include "platform/SecretStore.h"
#include "platform/StatusItem.h"
#include "usage/ClaudeSetup.h"
#include "usage/KeychainStore.h"
#include "usage/ProviderRegistry.h"

#include <TestPaths.h>

#include <QMimeData>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

// The whole program but for the desktop's side of it, whose parts have tests of their own.

/// Notes what it is given; the real one has tests of its own.
class NotedStatusItem final : public StatusItem {
public:
    void setImages(const QList<QImage>& shown) override
    {
        images = shown;
        ++imageCount;
    }
    void setTitle(const QString& shown) override { title = shown; }
    void setToolTip(const QString&, const QString& text) override { toolTip = text; }
    void setMenu(const QList<StatusMenuEntry>& entries) override { menu = entries; }
    bool isShown() const override { return true; }

    QList<QImage> images;
    int imageCount = 0;
    QString title;
    QString toolTip;
    QList<StatusMenuEntry> menu;
};

class ChosenAppearance final : public DesktopAppearance {
public:
    Appearance current() const override { return chosen; }

    Appearance chosen;
};

class NoSecrets final : public SecretStore {
public:
    SecretReading read(const QString&, const QString&) const override { return {}; }
    bool setSecret(const QString&, const QString&, const QString&, const QByteArray&) override
    {
        return false;
    }
    bool removeSecret(const QString&, const QString&) override { return false; }
};

class NoCalendar final : public CalendarStore {
public:
    std::optional<int> status() const override { return CalendarAccess::denied; }
    void requestAccess(std::function<void(bool)> completion) override { completion(false); }
    void fetch(const DateSpan&) override { ++fetches; }
    void close() override { }

    int fetches = 0;
};

class NoClipboard final : public ClipboardBoard {
public:
    qint64 changeCount() const override { return 0; }
    bool tellsOfChanges() const override { return true; }
    void setWatched(bool) override { }
    void fetch(const Fetched&) override { }
    bool write(std::unique_ptr<QMimeData>) override { return false; }
};

class NotedNotifier final : public Notifier {
public:
    void post(const Notice& notice) override { notices.append(notice); }

    QList<Notice> notices;
};

class NoUpdates final : public Updates {
public:
    bool canCheck() const override { return false; }
    void check(std::function<void(const UpdateCheck&)>) override { }
};

class NotedOpener final : public AddressOpener {
public:
    void open(const QUrl& address, std::function<void(bool)>) override { opened.append(address); }

    QList<QUrl> opened;
};

class NotedLogin final : public LoginItem {
public:
    Status status() const override { return isOn ? Status::enabled : Status::disabled; }
    std::optional<QString> enable() override
    {
        isOn = true;
        return {};
    }
    std::optional<QString> disable() override
    {
        isOn = false;
        return {};
    }
    void mend() override { }

    bool isOn = false;
};

class CountedSystem final : public SystemCounters {
public:
    SystemReading read() const override
    {
        ++reads;
        return {};
    }

    mutable int reads = 0;
};

/// A program with a home folder of its own.
struct Program {
    explicit Program(const QTemporaryDir& home, bool isDemo = false)
        : preferences(home.filePath(u"preferences.json"_s))
        , registry(preferences, home.filePath(u"support"_s), isDemo)
        , crashReports(home.filePath(u"crashes"_s))
        , delegate({.preferences = preferences,
                    .registry = registry,
                    .keychain = keychain,
                    .statusItem = statusItem,
                    .appearance = appearance,
                    .claudeSetup = claudeSetup,
                    .calendarStore = calendarStore,
                    .clipboard = clipboard,
                    .counters = counters,
                    .notifier = notifier,
                    .loginItem = loginItem,
                    .updater = updater,
                    .opener = opener,
                    .crashReports = crashReports,
                    .paths = {.supportDirectory = home.filePath(u"support"_s),
                              .resources = QStringLiteral(VEXLO_BUILD_TREE "/share/vexlo")},
                    .isDemo = isDemo})
    {
        preferences.setBoolean(u"welcomeDone"_s, true); // no newcomer, unless a test says so
    }

    NoSecrets secrets;
    KeychainStore keychain{secrets};
    ClaudeSetup claudeSetup{{}};
    NotedStatusItem statusItem;
    ChosenAppearance appearance;
    NoCalendar calendarStore;
    NoClipboard clipboard;
    CountedSystem counters;
    NotedNotifier notifier;
    NotedLogin loginItem;
    NoUpdates updates;
    AppUpdater updater{updates};
    NotedOpener opener;
    PreferenceStore preferences;
    ProviderRegistry registry;
    CrashReports crashReports;
    AppDelegate delegate;
};
