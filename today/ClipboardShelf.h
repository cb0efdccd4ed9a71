#pragma once

#include "platform/ClipboardBoard.h"
#include "today/ShelfFiles.h"
#include "today/ShelfIntake.h"
#include "today/ShelfItem.h"

#include <QHash>
#include <QObject>
#include <QThreadPool>
#include <QTimer>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

class PreferenceStore;
class QMimeData;

/// The durations and the clock that a shelf lives by.
struct ShelfTiming {
    std::chrono::milliseconds pollInterval{500}; // for a board that does not tell of changes
    std::chrono::milliseconds dragFileLife{120'000}; // after the drop: receivers copy late
    std::function<Date()> clock = currentDate;
};

/// The user's copies of the last day: texts, pictures and files, newest first, in a folder that
/// only the user can read.
///
/// Main thread only, and it never waits there: contents are read, pictures converted and files
/// written elsewhere. A failed write goes unreported; the next change writes the list again. What
/// is not yet written when it is destroyed is written then.
class ClipboardShelf : public QObject {
    Q_OBJECT

public:
    static constexpr qsizetype itemLimit = 30;
    static constexpr std::chrono::hours lifetime{24};
    static constexpr QLatin1StringView enabledKey{"clipboardHistoryEnabled"};

    enum class Outcome { stored, nothing, tooLarge };
    using Done = std::function<void(Outcome)>;

    /// What marks contents as nobody else's business: any of these types, whatever its value.
    [[nodiscard]] static QStringList privateTypes();

    /// Reads the list in `directory`, which need not exist, and drops what has expired. What the
    /// board holds now is not stored. Board and preferences must outlive the shelf.
    ClipboardShelf(QString directory, ClipboardBoard& board, PreferenceStore& preferences,
                   const ShelfTiming& timing = {});
    ~ClipboardShelf() override;

    [[nodiscard]] const QList<ShelfItem>& items() const { return m_items; }
    /// Whether copies are recorded; kept among the preferences, off at first.
    [[nodiscard]] bool isEnabled() const;
    void setEnabled(bool enabled);
    /// Starts or stops watching the board as `isEnabled` says. What it holds by then is not stored.
    void updateWatcher();
    /// Whether the newest copy was left out for its size.
    [[nodiscard]] bool lastWasTooLarge() const { return m_lastWasTooLarge; }

    // The next three store what is worth it, and call `done` later. Contents are stored in the
    // order of the calls.

    void add(std::shared_ptr<BoardContent> content, Date now = currentDate(), Done done = {});
    /// Takes what was dropped, whether or not copies are recorded. `dropped` is used only now.
    void addDropped(const QMimeData& dropped, Date now = currentDate(), Done done = {});
    /// Adds what the board holds.
    void record(Date now = currentDate(), Done done = {});

    /// Looks whether the board has changed, records it if so, and drops what has expired. Called
    /// by the board and by a timer.
    void tick(Date now);

    /// Puts `item` back on the board. False when its file is gone.
    bool copy(const ShelfItem& item);
    /// What to hand to a drag of `item`; null when its file is gone.
    [[nodiscard]] std::unique_ptr<QMimeData> dragWriter(const ShelfItem& item);
    /// To be called when a drag of `item` has ended: its temporary file goes after a while.
    void endDrag(const ShelfItem& item);
    /// The picture file of an image, empty for other kinds.
    [[nodiscard]] QString imageFile(const ShelfItem& item) const;
    void remove(const ShelfItem& item);
    void clear();
    void pruneExpired(Date now = currentDate());

    /// Called after every change of the list, and when a copy was too large.
    std::function<void()> onChange;

private:
    /// A content on its way to the list.
    struct Arrival {
        Date now;
        Done done;
        bool isRecorded = false; // from the board, not from a drop
        ShelfIntake* intake = nullptr; // until it is read
        std::optional<ShelfCopy> copy; // once it is read
    };

    void addArrival(std::shared_ptr<BoardContent> content, Date now, Done done, bool isRecorded);
    void dropArrivals(bool onlyRecorded);
    void storeArrivals();
    void storePicture(const QByteArray& png);
    void pictureStored(const StoredPicture& stored, const QByteArray& png);
    void finishArrival(Outcome outcome);
    void addFiles(const QStringList& files, Date now);
    void put(ShelfItemKind kind, const QString& value, Date now);
    void moveToTop(qsizetype index, Date now);
    void insert(const ShelfItem& item);
    void deleteFiles(const QList<ShelfItem>& items);
    void save();
    void writeSoon();
    void awaitExpiry();

    QString m_directory;
    ClipboardBoard& m_board;
    PreferenceStore& m_preferences;
    ShelfTiming m_timing;
    QList<ShelfItem> m_items;
    PictureDigests m_digests;
    qint64 m_lastChangeCount = 0;
    bool m_lastWasTooLarge = false;
    QTimer m_timer; // the next poll, or the next expiry
    std::deque<Arrival> m_arrivals;
    bool m_isStoring = false; // the picture of the first arrival
    bool m_isUnsaved = false;
    bool m_isWriting = false;
    QHash<QUuid, int> m_drags; // how often each item was dragged
    QThreadPool m_worker; // one thread, so that files change in the order of the list's changes
};
