#pragma once

#include "platform/Date.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUuid>

#include <functional>

struct ReadResult;

/// One task of the user's.
struct NoteItem {
    QUuid id;
    QString text; // one line
    bool done = false;
    Date created;

    bool operator==(const NoteItem&) const = default;
};

/// A task and its place in the list, from 0.
struct PlacedNote {
    qsizetype place = 0;
    NoteItem item;

    bool operator==(const PlacedNote&) const = default;
};

/// `text` on one line: control characters and line breaks, with the white space around them, become
/// one space. Other white space stays as it is.
[[nodiscard]] QString oneLine(const QString& text);

/// The user's task list, in one JSON file that is written whole after every change.
///
/// A failed write goes unreported: the list stays in memory and the next change writes it again.
/// Another process may use the file too: its tasks are read before a change is made. A file that
/// cannot be understood is kept aside, as its name with ".bad" at the end, before it is first
/// overwritten. Main thread only.
class NotesStore {
public:
    static constexpr qsizetype itemLimit = 50;
    static constexpr qsizetype textLimit = 200; // characters as the user sees them
    static constexpr qsizetype unitLimit = 64 * textLimit; // UTF-16; no real character has 64

    /// Reads `file`; a missing or unreadable file leaves the list empty.
    explicit NotesStore(QString file);

    /// Oldest first, but for what the user moved.
    [[nodiscard]] const QList<NoteItem>& items() const { return m_items; }
    /// How many tasks are not done.
    [[nodiscard]] qsizetype remaining() const;
    /// Whether the file holds the list as it stands.
    [[nodiscard]] bool isSaved() const { return m_items == m_saved; }

    /// Appends `text` on one line, trimmed and cut to `textLimit`. False when nothing is left of it
    /// or the list is full.
    bool add(const QString& text, Date now = currentDate());
    /// Ticks the task off, or back on.
    void toggle(QUuid id);
    /// Gives the task another text, as `add` would keep it. False when nothing changes by that or
    /// nothing is left of the text.
    bool edit(QUuid id, const QString& text);
    /// Moves the task so that it stands at `index`, or at the nearest end of the list.
    void move(QUuid id, qsizetype index);
    /// What was removed, with the places before; empty for an unknown `id`.
    QList<PlacedNote> remove(QUuid id);
    QList<PlacedNote> clearDone();
    /// Puts removed tasks back at their places, also into a full list.
    void restore(const QList<PlacedNote>& removed);

    /// Takes over what another process wrote.
    void reload();

    /// Called at the end of every save, and when another process's tasks were taken over.
    std::function<void()> onChange;

private:
    void change(const std::function<bool()>& apply);
    QList<PlacedNote> removeIf(const std::function<bool(const NoteItem&)>& isMeant);
    [[nodiscard]] NoteItem* find(QUuid id);
    bool takeOver(const ReadResult& file);
    bool makeWay(const ReadResult& file) const;
    void save();

    QString m_file;
    QList<NoteItem> m_items;
    QList<NoteItem> m_saved; // as the file has them
    QByteArray m_contents; // of the file, as last read or written
};
