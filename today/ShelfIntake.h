#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class BoardContent;
class QThreadPool;

/// What of a content is worth keeping.
struct ShelfCopy {
    enum class Kind { nothing, tooLarge, files, picture, text };

    Kind kind = Kind::nothing;
    QStringList files; // absolute paths, in the content's order
    QByteArray png;
    QString text;
};

/// Reads one content after the rules of the shelf: files before a picture before text.
///
/// Main thread only. Asks for one format after the other and none without need; what takes long is
/// done by `pool`.
class ShelfIntake : public QObject {
    Q_OBJECT

public:
    using Done = std::function<void(const ShelfCopy&)>;

    /// Calls `done` once, later, and then deletes itself. `pool` must have no work left when
    /// `parent`, which owns it, goes.
    ShelfIntake(std::shared_ptr<BoardContent> content, QThreadPool& pool, Done done,
                QObject* parent);

    /// Keeps `done` from being called.
    void cancel() { m_done = nullptr; }

private:
    void finish(const ShelfCopy& copy);
    void readFiles();
    void readPicture();
    void readText();

    std::shared_ptr<BoardContent> m_content;
    QThreadPool& m_pool;
    Done m_done;
};
