#pragma once

#include "platform/Updates.h"

#include <QCoreApplication>

/// Looking for a newer version, as the About pane offers it.
///
/// Vexlo installs nothing by itself: the system's packages bring new versions, and whether they
/// come without asking is the system's own setting.
class AppUpdater {
    Q_DECLARE_TR_FUNCTIONS(AppUpdater)

public:
    /// A message for the user about what came of a check.
    struct Report {
        QString message;
        QString informativeText;
        bool offersSoftwareCentre = false; // with a button that opens `softwareCentre`

        bool operator==(const Report&) const = default;
    };

    explicit AppUpdater(Updates& updates);

    /// Whether the system can be asked. Without that, a check explains how this copy is updated.
    [[nodiscard]] bool canCheckForUpdates() const;

    /// Looks for an update and gives the report once: at once where there is nobody to ask, else
    /// later, if the updates' adapter lives to hear of it.
    void checkForUpdates(std::function<void(const Report&)> done);

    /// The program's page in the desktop's software centre, as an address to open.
    [[nodiscard]] static QString softwareCentre();
    /// For when that cannot be opened.
    [[nodiscard]] static Report softwareCentreMissing();
    /// What stands beside the switch for automatic installs, which only shows.
    [[nodiscard]] static QString automaticInstallsNote();
    /// The words on the button of a report that offers the software centre.
    [[nodiscard]] static QString softwareCentreButton();

private:
    [[nodiscard]] static Report report(const UpdateCheck& check);

    Updates& m_updates;
};
