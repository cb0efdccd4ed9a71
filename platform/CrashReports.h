#pragma once

#include <QString>
#include <QStringList>

#include <optional>

class PreferenceStore;

/// Reports that the program writes about itself when it crashes: when, which version, which signal,
/// and where in the code. Nothing of the user's is in them.
///
/// At most ten are kept. Each has a name that begins with "Vexlo" and sorts by time.
class CrashReports {
public:
    static constexpr qsizetype mostReports = 10;

    /// The reports lie in `folder`, which is made when the first is written.
    explicit CrashReports(QString folder = defaultFolder());

    /// "Gridwell/crashes" below `XDG_STATE_HOME`, or below `~/.local/state`.
    [[nodiscard]] static QString defaultFolder();

    /// From now on a crash of this process leaves a report that names `version`; the system then
    /// deals with the crash as ever. Once per process. Without room on the disk a report is short,
    /// or missing.
    void install(const QString& version) const;

    /// The names of the reports, the newest first.
    [[nodiscard]] QStringList reports() const;

    /// The path of the newest report, when it was written since the last call for the same
    /// `preferences`: to be asked once at every start.
    [[nodiscard]] std::optional<QString> crashSinceLastStart(PreferenceStore& preferences) const;

    [[nodiscard]] const QString& folder() const { return m_folder; }

private:
    void removeOld() const;

    QString m_folder;
};
