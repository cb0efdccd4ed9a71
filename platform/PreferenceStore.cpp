#include "platform/PreferenceStore.h"

#include "platform/Files.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>
#include <cstdio>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 largestFile = 4 << 20;

/// The object in `result`, or nothing when it holds anything else.
std::optional<QJsonObject> objectIn(const ReadResult& result)
{
    const QJsonDocument document = QJsonDocument::fromJson(result.contents);
    if (result.status != ReadStatus::read || !document.isObject())
        return std::nullopt;
    return document.object();
}

/// Whether the file is there for good in a form that is no use to us. A reading that failed for the
/// moment is not: the file may be perfectly well.
bool isBeyondReading(const ReadResult& result)
{
    switch (result.status) {
    case ReadStatus::read:
        return !objectIn(result);
    case ReadStatus::unfit:
    case ReadStatus::denied:
        return true;
    case ReadStatus::missing:
    case ReadStatus::failed:
        return false;
    }
    return false;
}

} // namespace

PreferenceStore::PreferenceStore(QString file)
    : m_file(std::move(file))
{
    m_stamp.node = 1; // unlike any state of the file
}

PreferenceStore::Stamp PreferenceStore::stamp() const
{
    struct stat status { };
    if (::stat(QFile::encodeName(m_file).constData(), &status) != 0)
        return {};
    // The time of the last change of any kind: nobody can set it back, as with the modification
    // time.
    return {.device = status.st_dev,
            .node = status.st_ino,
            .size = status.st_size,
            .changedNanoseconds
            = qint64(status.st_ctim.tv_sec) * 1'000'000'000 + status.st_ctim.tv_nsec};
}

bool PreferenceStore::readFileInto(QJsonObject& values) const
{
    const ReadResult result = readFile(m_file, largestFile);
    if (result.status == ReadStatus::failed)
        return false;
    values = objectIn(result).value_or(QJsonObject());
    return true;
}

void PreferenceStore::readAgainIfChanged() const
{
    const Stamp now = stamp();
    if (now == m_stamp)
        return;
    if (now.size >= 0 && isBeyondReading(readFile(m_file, largestFile)))
        setAsideWhatCannotBeRead();
    if (readFileInto(m_values))
        m_stamp = now;
}

void PreferenceStore::setAsideWhatCannotBeRead() const
{
    const FolderLock lock(QFileInfo(m_file).path());
    // Another process may have put things right before we got the lock.
    if (!lock.isHeld() || !isBeyondReading(readFile(m_file, largestFile)))
        return;
    ::rename(QFile::encodeName(m_file).constData(),
             QFile::encodeName(m_file + u".bad"_s).constData());
}

QJsonValue PreferenceStore::value(const QString& key) const
{
    if (const auto unwritten = m_unwritten.constFind(key); unwritten != m_unwritten.cend())
        return *unwritten;
    readAgainIfChanged();
    return m_values.value(key);
}

std::optional<bool> PreferenceStore::boolean(const QString& key) const
{
    const QJsonValue found = value(key);
    return found.isBool() ? std::optional(found.toBool()) : std::nullopt;
}

std::optional<qint64> PreferenceStore::integer(const QString& key) const
{
    const QJsonValue found = value(key);
    // The fallback comes back for what has no exact integer, so two of them tell.
    const qint64 integer = found.toInteger(0);
    return found.isDouble() && integer == found.toInteger(1) ? std::optional(integer)
                                                             : std::nullopt;
}

std::optional<double> PreferenceStore::real(const QString& key) const
{
    const QJsonValue found = value(key);
    return found.isDouble() ? std::optional(found.toDouble()) : std::nullopt;
}

std::optional<QString> PreferenceStore::text(const QString& key) const
{
    const QJsonValue found = value(key);
    return found.isString() ? std::optional(found.toString()) : std::nullopt;
}

std::optional<QStringList> PreferenceStore::texts(const QString& key) const
{
    const QJsonValue found = value(key);
    if (!found.isArray())
        return std::nullopt;
    QStringList texts;
    for (const QJsonValue& text : found.toArray()) {
        if (!text.isString())
            return std::nullopt;
        texts.append(text.toString());
    }
    return texts;
}

QStringList PreferenceStore::keys() const
{
    readAgainIfChanged();
    QJsonObject values = m_values;
    for (auto change = m_unwritten.cbegin(); change != m_unwritten.cend(); ++change)
        values.insert(change.key(), change.value()); // an undefined value removes the key
    return values.keys();
}

bool PreferenceStore::setReal(const QString& key, double value)
{
    return std::isfinite(value) ? set(key, value) : remove(key);
}

bool PreferenceStore::setTexts(const QString& key, const QStringList& value)
{
    return set(key, QJsonArray::fromStringList(value));
}

bool PreferenceStore::set(const QString& key, const QJsonValue& value)
{
    m_unwritten.insert(key, value);
    const QString folder = QFileInfo(m_file).path();
    if (!makePrivateFolder(folder))
        return false;
    readAgainIfChanged(); // sets aside what is broken, which takes the lock for itself

    const FolderLock lock(folder);
    QJsonObject values;
    // What cannot be read must not be overwritten either.
    if (!lock.isHeld() || isBeyondReading(readFile(m_file, largestFile)) || !readFileInto(values))
        return false;
    for (auto change = m_unwritten.cbegin(); change != m_unwritten.cend(); ++change)
        values.insert(change.key(), change.value());
    const QByteArray contents = QJsonDocument(values).toJson(QJsonDocument::Indented);
    if (replaceFile(m_file, contents) != ReplaceStatus::replaced)
        return false;
    m_unwritten.clear();
    m_values = values;
    m_stamp = stamp();
    return true;
}
