#include "platform/linux/ContentPipes.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <utility>

namespace {

constexpr qsizetype partSize = 256 << 10; // bytes

bool isPassing(int error)
{
    return error == EAGAIN || error == EINTR;
}

} // namespace

PipeReader::PipeReader(Descriptor source, qsizetype limit, std::chrono::milliseconds patience,
                       BoardContent::Done done, QObject* parent)
    : QObject(parent)
    , m_source(std::move(source))
    , m_limit(limit)
    , m_done(std::move(done))
    , m_notifier(m_source.value(), QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &PipeReader::takePart);
    connect(&m_patience, &QTimer::timeout, this, &PipeReader::abandon);
    m_patience.setSingleShot(true);
    m_patience.start(patience);
}

void PipeReader::takePart()
{
    // Many small pieces go into one part; a full one stays where it is.
    if (m_parts.isEmpty() || m_parts.constLast().size() == partSize) {
        m_parts.emplace_back();
        m_parts.last().reserve(partSize);
    }
    QByteArray& part = m_parts.last();
    const qsizetype before = part.size();
    part.resize(partSize);
    const ssize_t count
        = ::read(m_source.value(), part.data() + before, std::size_t(partSize - before));
    const int error = count < 0 ? errno : 0;
    part.resize(before + std::max<ssize_t>(count, 0));
    m_size += std::max<ssize_t>(count, 0);
    if (isPassing(error))
        return;
    if (count <= 0)
        finish(count == 0 ? ContentData::Status::read : ContentData::Status::absent);
    else if (m_size > m_limit)
        finish(ContentData::Status::tooLarge);
    else
        m_patience.start();
}

void PipeReader::finish(ContentData::Status status)
{
    m_notifier.setEnabled(false);
    m_patience.stop();
    m_source.reset();
    ContentData data{.status = status};
    if (status == ContentData::Status::read) {
        data.parts = std::exchange(m_parts, {});
        data.parts.last().squeeze();
    }
    m_parts.clear();
    deleteLater();
    if (const BoardContent::Done done = std::exchange(m_done, nullptr))
        done(data); // after which this object may be gone
}

PipeWriter::PipeWriter(Descriptor target, QByteArray bytes, QObject* parent)
    : QObject(parent)
    , m_target(std::move(target))
    , m_bytes(std::move(bytes))
    , m_notifier(m_target.value(), QSocketNotifier::Write)
{
    // A reader that leaves early is an error like any other, not this program's end.
    [[maybe_unused]] static const auto ignored = std::signal(SIGPIPE, SIG_IGN);
    const int flags = ::fcntl(m_target.value(), F_GETFL);
    ::fcntl(m_target.value(), F_SETFL, flags | O_NONBLOCK);
    connect(&m_notifier, &QSocketNotifier::activated, this, &PipeWriter::writePart);
}

void PipeWriter::writePart()
{
    const qsizetype size = std::min(partSize, m_bytes.size() - m_written);
    const ssize_t count
        = ::write(m_target.value(), m_bytes.constData() + m_written, std::size_t(size));
    if (count < 0 && isPassing(errno))
        return;
    m_written += std::max<ssize_t>(count, 0);
    if (count >= 0 && m_written < m_bytes.size())
        return;
    m_notifier.setEnabled(false);
    m_target.reset(); // which tells the reader that this was all
    deleteLater();
}
