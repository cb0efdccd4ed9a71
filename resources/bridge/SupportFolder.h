#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

using MonotonicTime = std::chrono::steady_clock::time_point;

/// The folder the bridge is installed in, which also holds the snapshot.
///
/// Every file in it may be missing, of another kind or not ours to open: no call here blocks
/// (`lock` until its deadline) or throws for that.
class SupportFolder {
public:
    /// Where the running program lies. Found from the program and not from HOME, which a status
    /// line may be run with any value of. Empty when the system does not tell.
    [[nodiscard]] static std::string ofThisProgram();

    /// Opens `path`; a folder that cannot be opened is one without files that cannot be locked.
    explicit SupportFolder(std::string path);
    ~SupportFolder(); // gives the lock back
    SupportFolder(const SupportFolder&) = delete;
    SupportFolder& operator=(const SupportFolder&) = delete;

    [[nodiscard]] const std::string& path() const { return m_path; }

    /// Waits for the exclusive lock on the folder. False when others hold it until `deadline`.
    [[nodiscard]] bool lock(MonotonicTime deadline) const;

    [[nodiscard]] bool contains(const char* name) const;

    /// What the regular file `name` holds; absent when it holds more than `byteLimit` bytes.
    [[nodiscard]] std::optional<std::string> read(const char* name, std::size_t byteLimit) const;

    /// Puts a file of mode 0600 with `contents` in the place of `name`. Only for the holder of the
    /// lock. On failure, and whenever the process ends, `name` is either the old file or the new.
    bool replace(const char* name, std::string_view contents) const;

private:
    std::string m_path;
    int m_descriptor;
};
