#pragma once

#include "platform/ClipboardBoard.h"
#include "platform/Descriptor.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>

/// Reads what another program writes into a pipe, without waiting for it, and deletes itself after.
class PipeReader : public QObject {
    Q_OBJECT

public:
    /// `source` must not block. `done` hears of at most `limit` bytes; of nothing when the writer
    /// keeps silent for as long as `patience`.
    PipeReader(Descriptor source, qsizetype limit, std::chrono::milliseconds patience,
               BoardContent::Done done, QObject* parent);

    /// Tells `done` that nothing will come.
    void abandon() { finish(ContentData::Status::absent); }

private:
    void takePart();
    void finish(ContentData::Status status);

    Descriptor m_source;
    qsizetype m_limit;
    BoardContent::Done m_done;
    QByteArrayList m_parts;
    qsizetype m_size = 0; // of all parts
    QSocketNotifier m_notifier;
    QTimer m_patience;
};

/// Writes `bytes` for another program to read, as fast as that program likes, and deletes itself
/// after. A reader that never comes costs nothing but the descriptor.
class PipeWriter : public QObject {
    Q_OBJECT

public:
    PipeWriter(Descriptor target, QByteArray bytes, QObject* parent);

private:
    void writePart();

    Descriptor m_target;
    QByteArray m_bytes;
    qsizetype m_written = 0;
    QSocketNotifier m_notifier;
};
