#pragma once

#include "platform/ClipboardBoard.h"

#include <QHash>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <xcb/xcb.h>

/// Watches the X11 clipboard and reads it over a connection of its own, without ever waiting for
/// the program that owns it.
///
/// Qt's own clipboard stops the whole program for up to five seconds for each format of an owner
/// that does not answer. Here an answer is an event like any other. No thread; a timer runs only
/// while an answer is awaited.
class SelectionReader : public QObject {
    Q_OBJECT

public:
    /// `patience` is how long an owner may keep silent in the middle of a transfer.
    explicit SelectionReader(std::chrono::milliseconds patience);
    ~SelectionReader() override;

    /// False when the display cannot be reached or tells nothing of its clipboard's owner. Then
    /// nothing else here does anything.
    [[nodiscard]] bool isConnected() const { return m_connection != nullptr; }

    /// Asks the owner for `target`, at most `limit` bytes; a transfer that is under way is given
    /// up, and its `done` told that the format is absent.
    void read(const QString& target, qsizetype limit, const BoardContent::Done& done);
    /// Gives up the transfer that is under way, if any.
    void abandon();
    /// The names behind the list of atoms that is the answer to the target "TARGETS".
    [[nodiscard]] QStringList targetNames(const QByteArray& atoms);

    /// Called when a program has taken the clipboard, or has let go of it.
    std::function<void()> onOwnerChanged;

private:
    /// An owner's answer on its way to us: a property of our window, filled once or, when it is
    /// long, piece by piece. One that is not wanted any more is still taken off the owner's hands:
    /// many a program that finds our window gone ends on the spot.
    struct Transfer {
        xcb_atom_t property = XCB_NONE;
        xcb_atom_t target = XCB_NONE; // none while it is not in use
        qsizetype limit = 0;
        QByteArrayList parts;
        qsizetype size = 0; // of all parts
        quint32 offset = 0; // of the next part of the property, in bytes
        bool isIncremental = false;
        BoardContent::Done done; // empty for one that is not wanted any more
        std::optional<unsigned> request; // for a part of the property, not yet answered
    };

    [[nodiscard]] bool watchOwner();
    [[nodiscard]] xcb_atom_t atom(const QString& name);
    [[nodiscard]] Transfer& freeTransfer();
    void process();
    void handleEvent(const xcb_generic_event_t& event);
    void ownerAnswered(const xcb_selection_notify_event_t& event);
    void requestPart(Transfer& transfer);
    bool takePart(Transfer& transfer);
    void partCame(Transfer& transfer, const xcb_get_property_reply_t& part);
    void disown(Transfer& transfer, ContentData::Status status);
    void finish(Transfer& transfer, ContentData::Status status);
    void disconnectDisplay();

    xcb_connection_t* m_connection = nullptr;
    std::optional<QSocketNotifier> m_notifier;
    QTimer m_patience;
    xcb_window_t m_window = XCB_NONE;
    xcb_atom_t m_clipboard = XCB_NONE;
    xcb_atom_t m_incremental = XCB_NONE;
    quint8 m_firstFixesEvent = 0;
    xcb_timestamp_t m_changeTime = XCB_CURRENT_TIME;
    std::array<Transfer, 8> m_transfers; // the wanted one, and answers that come too late
    Transfer* m_wanted = nullptr;
    QHash<xcb_atom_t, QString> m_names;
};
