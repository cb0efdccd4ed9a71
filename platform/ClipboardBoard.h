#pragma once

#include <QByteArrayList>
#include <QStringList>

#include <functional>
#include <memory>

class QMimeData;

/// The types under which every board's content offers texts and files.
namespace ContentType {
/// UTF-8; what is not valid UTF-8 is Latin-1.
inline constexpr QLatin1StringView plainText("text/plain;charset=utf-8");
/// One address per line, as RFC 2483 has it.
inline constexpr QLatin1StringView addresses("text/uri-list");
inline constexpr QLatin1StringView png("image/png");
} // namespace ContentType

/// One format of what was copied.
struct ContentData {
    enum class Status {
        read,
        absent, // not offered, or nobody answers
        tooLarge,
    };

    /// All parts in one. Of large data this takes a while.
    [[nodiscard]] QByteArray bytes() const
    {
        return parts.size() == 1 ? parts.constFirst() : parts.join();
    }

    Status status = Status::absent;
    QByteArrayList parts; // as they came; empty unless `status` is `read`
};

/// What a board held at one moment, or what was dropped.
class BoardContent {
public:
    using Done = std::function<void(const ContentData&)>;

    virtual ~BoardContent() = default;

    /// The names of the formats on offer: MIME types, and names that are none. Empty when there is
    /// nothing, or nobody who would tell.
    [[nodiscard]] virtual QStringList types() const = 0;
    /// Reads one format of at most `limit` bytes and hands it to `done` on the main thread, at once
    /// or later. Content that something newer has replaced reads as absent.
    virtual void read(const QString& type, qsizetype limit, const Done& done) = 0;
};

/// The clipboard that the user's programs share. Main thread only; never waits for another program.
class ClipboardBoard {
public:
    using Fetched = std::function<void(std::shared_ptr<BoardContent>)>;

    virtual ~ClipboardBoard() = default;

    /// Rises with every change while the board is watched.
    [[nodiscard]] virtual qint64 changeCount() const = 0;
    /// Whether `onChange` is called. Else `changeCount` must be looked at from time to time.
    [[nodiscard]] virtual bool tellsOfChanges() const = 0;
    /// Starts or stops watching. A board that is not watched costs nothing.
    virtual void setWatched(bool isWatched) = 0;
    /// Asks for the current content. `fetched` is called on the main thread, at once or later, and
    /// not at all when another change or call comes first.
    virtual void fetch(const Fetched& fetched) = 0;
    /// Replaces the content. False when the desktop did not take it.
    virtual bool write(std::unique_ptr<QMimeData> content) = 0;

    /// Called after `changeCount` has risen.
    std::function<void()> onChange;
};
