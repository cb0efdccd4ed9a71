#include "today/NotesStore.h"

#include "platform/Characters.h"
#include "platform/Files.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

namespace Key {
constexpr auto id = "id"_L1;
constexpr auto text = "text"_L1;
constexpr auto done = "done"_L1;
constexpr auto created = "created"_L1;
} // namespace Key

constexpr qint64 largestFile = 8 << 20; // more than a full list of the longest tasks takes
constexpr Date beginOf2001{std::chrono::seconds(978'307'200)}; // from where the file's times count
constexpr double farthestMilliseconds = 9e15; // still an exact number

QString idText(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

/// The UUID that is written as `text` in the usual 36 characters.
std::optional<QUuid> uuid(const QString& text)
{
    const QUuid id = QUuid::fromString(text);
    return idText(id) == text.toUpper() ? std::optional(id) : std::nullopt;
}

Date dateAt(double seconds)
{
    const double milliseconds
        = std::clamp(seconds * 1000, -farthestMilliseconds, farthestMilliseconds);
    return beginOf2001 + std::chrono::milliseconds(std::llround(milliseconds));
}

double secondsSince2001(Date date)
{
    return double((date - beginOf2001).count()) / 1000;
}

std::optional<NoteItem> noteItem(const QJsonValue& value)
{
    const QJsonObject object = value.toObject();
    const std::optional<QUuid> id = uuid(object.value(Key::id).toString());
    if (!id || !object.value(Key::text).isString() || !object.value(Key::done).isBool()
        || !object.value(Key::created).isDouble())
        return std::nullopt;
    return NoteItem{
        .id = *id,
        .text = object.value(Key::text).toString(),
        .done = object.value(Key::done).toBool(),
        .created = dateAt(object.value(Key::created).toDouble()),
    };
}

/// The whole list, or nothing when any part of it cannot be understood.
std::optional<QList<NoteItem>> noteItems(const QByteArray& data)
{
    const QJsonDocument document = QJsonDocument::fromJson(data);
    if (!document.isArray())
        return std::nullopt;
    QList<NoteItem> items;
    for (const QJsonValue& value : document.array()) {
        const std::optional<NoteItem> item = noteItem(value);
        if (!item)
            return std::nullopt;
        items.append(*item);
    }
    return items;
}

QByteArray fileContents(const QList<NoteItem>& items)
{
    QJsonArray array;
    for (const NoteItem& item : items) {
        array.append(QJsonObject{
            {Key::id, idText(item.id)},
            {Key::text, item.text},
            {Key::done, item.done},
            {Key::created, secondsSince2001(item.created)},
        });
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

bool isBreak(QChar character)
{
    return character.category() == QChar::Other_Control || character == QChar::LineSeparator
        || character == QChar::ParagraphSeparator;
}

/// What a task keeps of `text`.
QString taskText(const QString& text)
{
    return firstCharacters(oneLine(text).trimmed().left(NotesStore::unitLimit),
                           NotesStore::textLimit);
}

bool holds(const QList<NoteItem>& items, const QUuid& id)
{
    return std::ranges::find(items, id, &NoteItem::id) != items.end();
}

} // namespace

QString oneLine(const QString& text)
{
    QString line;
    line.reserve(text.size());
    for (qsizetype i = 0; i < text.size();) {
        qsizetype end = i;
        bool breaks = false;
        while (end < text.size() && (text[end].isSpace() || isBreak(text[end])))
            breaks = isBreak(text[end++]) || breaks;
        if (breaks)
            line.append(u' ');
        else
            line.append(QStringView(text).sliced(i, end - i));
        if (end < text.size())
            line.append(text[end++]);
        i = end;
    }
    return line;
}

NotesStore::NotesStore(QString file)
    : m_file(std::move(file))
{
    takeOver(readFile(m_file, largestFile));
}

qsizetype NotesStore::remaining() const
{
    return std::ranges::count(m_items, false, &NoteItem::done);
}

NoteItem* NotesStore::find(QUuid id)
{
    const auto found = std::ranges::find(m_items, id, &NoteItem::id);
    return found == m_items.end() ? nullptr : &*found;
}

bool NotesStore::add(const QString& text, Date now)
{
    const QString kept = taskText(text);
    bool isAdded = false;
    if (kept.isEmpty())
        return false;
    change([&] {
        isAdded = m_items.size() < itemLimit;
        if (isAdded)
            m_items.append({.id = QUuid::createUuid(), .text = kept, .created = now});
        return isAdded;
    });
    return isAdded;
}

void NotesStore::toggle(QUuid id)
{
    change([&] {
        NoteItem* item = find(id);
        if (item)
            item->done = !item->done;
        return item != nullptr;
    });
}

bool NotesStore::edit(QUuid id, const QString& text)
{
    const QString kept = taskText(text);
    bool isEdited = false;
    if (kept.isEmpty())
        return false;
    change([&] {
        NoteItem* item = find(id);
        isEdited = item && item->text != kept;
        if (isEdited)
            item->text = kept;
        return isEdited;
    });
    return isEdited;
}

void NotesStore::move(QUuid id, qsizetype index)
{
    change([&] {
        const NoteItem* item = find(id);
        if (!item)
            return false;
        const qsizetype from = item - m_items.constData();
        const qsizetype to = std::clamp<qsizetype>(index, 0, m_items.size() - 1);
        m_items.move(from, to);
        return from != to;
    });
}

QList<PlacedNote> NotesStore::removeIf(const std::function<bool(const NoteItem&)>& isMeant)
{
    QList<PlacedNote> removed;
    for (qsizetype i = 0; i < m_items.size(); ++i) {
        if (isMeant(m_items[i]))
            removed.append({.place = i, .item = m_items[i]});
    }
    m_items.removeIf(isMeant);
    return removed;
}

QList<PlacedNote> NotesStore::remove(QUuid id)
{
    QList<PlacedNote> removed;
    change([&] {
        removed = removeIf([&](const NoteItem& item) { return item.id == id; });
        return true;
    });
    return removed;
}

QList<PlacedNote> NotesStore::clearDone()
{
    QList<PlacedNote> removed;
    change([&] {
        removed = removeIf([](const NoteItem& item) { return item.done; });
        return !removed.isEmpty();
    });
    return removed;
}

void NotesStore::restore(const QList<PlacedNote>& removed)
{
    change([&] {
        const QList<NoteItem> before = m_items;
        for (const PlacedNote& note : removed) {
            if (!holds(before, note.item.id))
                m_items.insert(std::min(note.place, m_items.size()), note.item);
        }
        return !removed.isEmpty();
    });
}

void NotesStore::reload()
{
    if (takeOver(readFile(m_file, largestFile)) && onChange)
        onChange();
}

/// Lets `apply` change the list, on top of what others wrote, and saves when it says so.
void NotesStore::change(const std::function<bool()>& apply)
{
    bool isChanged = false;
    {
        const QString folder = QFileInfo(m_file).path();
        makePrivateFolder(folder);
        // Some file systems know no locks. A list that is never written would be worse there than
        // the chance that two processes change it in the same instant.
        const FolderLock lock(folder);
        const ReadResult file = readFile(m_file, largestFile);
        isChanged = takeOver(file);
        if (apply()) {
            isChanged = true;
            if (makeWay(file))
                save();
        }
    }
    if (isChanged && onChange)
        onChange();
}

/// Takes over what others wrote to `file`. True when that changed the list.
bool NotesStore::takeOver(const ReadResult& file)
{
    if (file.status != ReadStatus::read || file.contents == m_contents)
        return false;
    const std::optional<QList<NoteItem>> theirs = noteItems(file.contents);
    if (!theirs)
        return false;
    const QList<NoteItem> before = m_items;
    if (isSaved()) {
        m_items = *theirs;
    } else { // what could not be written yet must not be lost either
        for (const NoteItem& item : *theirs) {
            if (!holds(m_saved, item.id) && !holds(m_items, item.id))
                m_items.append(item);
        }
    }
    m_saved = *theirs;
    m_contents = file.contents;
    return m_items != before;
}

/// Whether `file` may be overwritten. Sets it aside when it holds something of no use to us.
bool NotesStore::makeWay(const ReadResult& file) const
{
    if (file.status == ReadStatus::missing
        || (file.status == ReadStatus::read && file.contents == m_contents))
        return true;
    if (file.status == ReadStatus::failed)
        return false; // it may be perfectly well
    return ::rename(QFile::encodeName(m_file).constData(),
                    QFile::encodeName(m_file + u".bad"_s).constData())
        == 0;
}

void NotesStore::save()
{
    const QByteArray contents = fileContents(m_items);
    if (replaceFile(m_file, contents, {.temporaryPrefix = u"notes-"_s}) != ReplaceStatus::replaced)
        return;
    m_saved = m_items;
    m_contents = contents;
}
