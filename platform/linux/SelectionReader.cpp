#include "platform/linux/SelectionReader.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>
#include <xcb/xcbext.h>
#include <xcb/xfixes.h>

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 partSize = 256 << 10; // bytes; a fraction of a millisecond's work
constexpr qint64 turnMilliseconds = 4; // of the event loop for us, then others have theirs
constexpr qsizetype mostTargets = 256;
constexpr int sentByClient = 0x80; // added to an event's number

struct Freed {
    void operator()(void* memory) const { std::free(memory); }
};
template<typename T> using Reply = std::unique_ptr<T, Freed>;

} // namespace

SelectionReader::SelectionReader(std::chrono::milliseconds patience)
    : m_connection(xcb_connect(nullptr, nullptr))
{
    if (xcb_connection_has_error(m_connection) != 0 || !watchOwner()) {
        disconnectDisplay();
        return;
    }
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
    connect(&m_patience, &QTimer::timeout, this, &SelectionReader::abandon);
    m_notifier.emplace(xcb_get_file_descriptor(m_connection), QSocketNotifier::Read);
    connect(&*m_notifier, &QSocketNotifier::activated, this, &SelectionReader::process);
    process(); // what came along with the first answers
}

SelectionReader::~SelectionReader()
{
    disconnectDisplay();
    abandon();
}

void SelectionReader::disconnectDisplay()
{
    m_notifier.reset();
    if (m_connection)
        xcb_disconnect(std::exchange(m_connection, nullptr));
}

bool SelectionReader::watchOwner()
{
    const xcb_query_extension_reply_t* fixes = xcb_get_extension_data(m_connection, &xcb_xfixes_id);
    if (!fixes || fixes->present == 0)
        return false;
    const Reply<xcb_xfixes_query_version_reply_t> version(xcb_xfixes_query_version_reply(
        m_connection, xcb_xfixes_query_version(m_connection, 1, 0), nullptr));
    m_firstFixesEvent = fixes->first_event;
    m_clipboard = atom(u"CLIPBOARD"_s);
    m_incremental = atom(u"INCR"_s);
    for (std::size_t i = 0; i < m_transfers.size(); ++i)
        m_transfers[i].property = atom(u"VEXLO_CLIPBOARD_%1"_s.arg(i));

    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    m_window = xcb_generate_id(m_connection);
    const quint32 events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(m_connection, 0, m_window, screen->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &events);
    xcb_xfixes_select_selection_input(m_connection, m_window, m_clipboard,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER
                                          | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY
                                          | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    return version && xcb_flush(m_connection) > 0;
}

xcb_atom_t SelectionReader::atom(const QString& name)
{
    const QByteArray bytes = name.toLatin1();
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 0, quint16(bytes.size()), bytes.constData()),
        nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_NONE);
}

QStringList SelectionReader::targetNames(const QByteArray& atoms)
{
    const auto count
        = std::min<qsizetype>(atoms.size() / qsizetype(sizeof(xcb_atom_t)), mostTargets);
    std::vector<xcb_atom_t> targets(std::size_t(count), XCB_NONE);
    if (count > 0)
        std::memcpy(targets.data(), atoms.constData(), targets.size() * sizeof(xcb_atom_t));

    std::vector<std::pair<xcb_atom_t, xcb_get_atom_name_cookie_t>> asked;
    for (const xcb_atom_t target : targets) {
        if (m_connection && !m_names.contains(target))
            asked.emplace_back(target, xcb_get_atom_name(m_connection, target));
    }
    for (const auto& [target, cookie] : asked) {
        const Reply<xcb_get_atom_name_reply_t> reply(
            xcb_get_atom_name_reply(m_connection, cookie, nullptr));
        if (reply)
            m_names.insert(target,
                           QString::fromLatin1(xcb_get_atom_name_name(reply.get()),
                                               xcb_get_atom_name_name_length(reply.get())));
    }
    QStringList names;
    for (const xcb_atom_t target : targets) {
        if (const QString name = m_names.value(target); !name.isEmpty())
            names.append(name);
    }
    return names;
}

SelectionReader::Transfer& SelectionReader::freeTransfer()
{
    // When eight owners owe an answer, the first to ask for is the first to be forgotten.
    auto free = std::ranges::find(m_transfers, xcb_atom_t(XCB_NONE), &Transfer::target);
    if (free == m_transfers.end()) {
        free = m_transfers.begin();
        xcb_delete_property(m_connection, m_window, free->property);
        if (free->request)
            xcb_discard_reply(m_connection, *free->request);
    }
    *free = {.property = free->property};
    return *free;
}

void SelectionReader::read(const QString& target, qsizetype limit, const BoardContent::Done& done)
{
    abandon();
    if (!m_connection) {
        done({});
        return;
    }
    Transfer& transfer = freeTransfer();
    transfer.target = atom(target);
    transfer.limit = limit;
    transfer.done = done;
    m_wanted = &transfer;
    xcb_convert_selection(m_connection, m_window, m_clipboard, transfer.target, transfer.property,
                          m_changeTime);
    m_patience.start();
    // Asking for the atom may have taken events from the socket, which will not tell of them again.
    QMetaObject::invokeMethod(this, &SelectionReader::process, Qt::QueuedConnection);
    xcb_flush(m_connection);
}

void SelectionReader::abandon()
{
    if (m_wanted)
        disown(*m_wanted, ContentData::Status::absent);
}

void SelectionReader::process()
{
    QElapsedTimer turn;
    turn.start();
    bool isMore = true;
    while (m_connection && isMore && turn.elapsed() < turnMilliseconds) {
        isMore = false;
        if (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(m_connection)}) {
            handleEvent(*event);
            isMore = true;
        }
        for (Transfer& transfer : m_transfers)
            isMore = takePart(transfer) || isMore;
    }
    if (!m_connection)
        return;
    xcb_flush(m_connection);
    if (isMore)
        QMetaObject::invokeMethod(this, &SelectionReader::process, Qt::QueuedConnection);
    else if (xcb_connection_has_error(m_connection) != 0)
        disconnectDisplay();
}

void SelectionReader::handleEvent(const xcb_generic_event_t& event)
{
    const int number = event.response_type & ~sentByClient;
    if (number == m_firstFixesEvent + XCB_XFIXES_SELECTION_NOTIFY) {
        m_changeTime
            = reinterpret_cast<const xcb_xfixes_selection_notify_event_t&>(event).timestamp;
        abandon();
        if (onOwnerChanged)
            onOwnerChanged();
    } else if (number == XCB_SELECTION_NOTIFY) {
        ownerAnswered(reinterpret_cast<const xcb_selection_notify_event_t&>(event));
    } else if (number == XCB_PROPERTY_NOTIFY) {
        const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        const auto transfer = std::ranges::find(m_transfers, change.atom, &Transfer::property);
        if (transfer != m_transfers.end() && change.state == XCB_PROPERTY_NEW_VALUE
            && transfer->isIncremental && !transfer->request)
            requestPart(*transfer);
    }
}

void SelectionReader::ownerAnswered(const xcb_selection_notify_event_t& event)
{
    if (event.property == XCB_NONE) {
        // A refusal does not say which question it answers; no other is as likely.
        if (m_wanted && m_wanted->target == event.target)
            finish(*m_wanted, ContentData::Status::absent);
        return;
    }
    const auto transfer = std::ranges::find(m_transfers, event.property, &Transfer::property);
    if (transfer != m_transfers.end() && transfer->target == event.target && !transfer->request)
        requestPart(*transfer);
}

void SelectionReader::requestPart(Transfer& transfer)
{
    // Of what is not wanted only the size matters: nothing is the end.
    const quint32 length = transfer.done ? partSize : 0;
    transfer.request = xcb_get_property(m_connection, 0, m_window, transfer.property,
                                        XCB_GET_PROPERTY_TYPE_ANY, transfer.offset / 4, length / 4)
                           .sequence;
}

bool SelectionReader::takePart(Transfer& transfer)
{
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    if (!m_connection || !transfer.request
        || xcb_poll_for_reply(m_connection, *transfer.request, &reply, &error) == 0)
        return false;
    transfer.request.reset();
    const Reply<xcb_generic_error_t> freedError(error);
    const Reply<xcb_get_property_reply_t> part(static_cast<xcb_get_property_reply_t*>(reply));
    if (&transfer == m_wanted)
        m_patience.start();
    if (part)
        partCame(transfer, *part);
    else
        finish(transfer, ContentData::Status::absent);
    return true;
}

void SelectionReader::partCame(Transfer& transfer, const xcb_get_property_reply_t& part)
{
    const bool isAnnouncement = part.type == m_incremental && !transfer.isIncremental;
    const auto length = qsizetype(part.value_len) * part.format / 8;
    const bool isEmpty = transfer.offset == 0 && length == 0 && part.bytes_after == 0;
    if (!isAnnouncement && transfer.done) {
        // Parts stay apart: one growing array would be copied whole now and then.
        transfer.parts.append(
            QByteArray(static_cast<const char*>(xcb_get_property_value(&part)), length));
        transfer.size += length;
        transfer.offset += quint32(length);
        if (transfer.size + qsizetype(part.bytes_after) > transfer.limit)
            disown(transfer, ContentData::Status::tooLarge);
    }
    if (transfer.done && !isAnnouncement && part.bytes_after > 0) {
        requestPart(transfer);
        return;
    }
    // To the owner this means: go on, or all is well.
    xcb_delete_property(m_connection, m_window, transfer.property);
    transfer.offset = 0;
    if (isAnnouncement)
        transfer.isIncremental = true;
    else if (!transfer.isIncremental || isEmpty)
        finish(transfer, ContentData::Status::read);
}

/// Tells that nothing will come, and leaves the transfer to run to its end unread.
void SelectionReader::disown(Transfer& transfer, ContentData::Status status)
{
    transfer.parts.clear();
    if (&transfer == m_wanted) {
        m_wanted = nullptr;
        m_patience.stop();
    }
    if (const BoardContent::Done done = std::exchange(transfer.done, nullptr))
        done({.status = status});
}

void SelectionReader::finish(Transfer& transfer, ContentData::Status status)
{
    if (&transfer == m_wanted) {
        m_wanted = nullptr;
        m_patience.stop();
    }
    const BoardContent::Done done = std::exchange(transfer.done, nullptr);
    const QByteArrayList parts = std::exchange(transfer.parts, {});
    transfer.target = XCB_NONE;
    transfer.isIncremental = false;
    if (done)
        done({.status = status, .parts = parts});
}
