#pragma once

#include <QString>
#include <QUrl>

#include <optional>

/// What is known about this build of the program.
struct BuildInfo {
    QString version;
    QString build; // a number that grows from build to build; "0" when unknown
    QString feedbackAddress; // e-mail; empty when this build has none

    /// Of the running program.
    [[nodiscard]] static BuildInfo current();
    /// "0.1.0 (123)"
    [[nodiscard]] QString versionString() const;
};

/// Feedback by e-mail: what stands in the draft, and what to say when there can be none.
namespace Feedback {

/// A message to show with one button.
struct Alert {
    QString message;
    QString informativeText;
};

/// Three lines: the program's version, the system's, and the machine's processor.
[[nodiscard]] QString systemDetails(const BuildInfo& build = BuildInfo::current());

/// The draft as an address to open. Absent when this build has no address to write to.
[[nodiscard]] std::optional<QUrl> mailURL(const BuildInfo& build = BuildInfo::current());

/// For when the draft cannot be opened.
[[nodiscard]] Alert alert(const BuildInfo& build = BuildInfo::current());

} // namespace Feedback
