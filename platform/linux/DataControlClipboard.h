#pragma once

#include "platform/ClipboardBoard.h"
#include "platform/linux/DataControlProtocol.h"

#include <QObject>
#include <QPointer>
#include <QSocketNotifier>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class PipeReader;

/// Watches, reads and replaces the clipboard of a Wayland compositor that offers data control, over
/// a connection of its own and without a window or the keyboard's focus.
///
/// Never waits for the program that owns the clipboard. No thread; a timer runs only while an owner
/// is awaited.
class DataControlClipboard : public QObject {
    Q_OBJECT

public:
    /// `patience` is how long an owner may keep silent in the middle of a transfer.
    explicit DataControlClipboard(std::chrono::milliseconds patience);
    ~DataControlClipboard() override;

    /// False when there is no such compositor, or no more. Then nothing else here does anything.
    [[nodiscard]] bool isConnected() const { return m_display != nullptr; }
    /// Whether the clipboard holds what was written here.
    [[nodiscard]] bool isOwner() const { return m_written.proxy != nullptr; }

    /// The names of the formats on offer.
    [[nodiscard]] QStringList types() const { return m_current.types; }
    /// Asks the owner for `type`, at most `limit` bytes; a transfer that is under way is given up,
    /// and its `done` told that the format is absent.
    void read(const QString& type, qsizetype limit, const BoardContent::Done& done);
    /// Takes the clipboard. False when it is not connected.
    bool write(std::unique_ptr<QMimeData> content);

    /// Called when something else is on the clipboard, or nothing any more, but not for what it
    /// holds at first. Must not destroy this object.
    std::function<void()> onChanged;

private:
    struct Offer {
        DataControl::Object proxy;
        QStringList types;
    };
    struct Written {
        DataControl::Object proxy;
        std::unique_ptr<QMimeData> content;
    };
    struct Globals {
        std::optional<std::uint32_t> seat;
        std::array<std::optional<std::uint32_t>, DataControl::managerNames.size()> managers;
    };

    [[nodiscard]] bool getDevice();
    void findGlobals();
    void awaitAnswer();
    [[nodiscard]] bool takeEvents();
    void process();
    void flush();
    void disconnectDisplay();
    void abandon();
    void listenToDevice();
    void offerCame(wl_proxy* offer);
    void selectionCame(const wl_proxy* offer);
    void send(const QString& type, int target);

    std::chrono::milliseconds m_patience;
    wl_display* m_display = nullptr;
    std::optional<QSocketNotifier> m_readable;
    std::optional<QSocketNotifier> m_writable; // on while the compositor does not keep up
    Globals m_globals;
    DataControl::Global m_registry;
    DataControl::Global m_seat;
    DataControl::Global m_manager;
    DataControl::Object m_device;
    Offer m_next; // not yet known to be the clipboard's
    Offer m_current;
    Written m_written;
    bool m_isContentKnown = false;
    bool m_hasChanged = false; // and `onChanged` not yet called
    bool m_isFinished = false; // the compositor has no clipboard any more
    QPointer<PipeReader> m_reader;
};
