#include "platform/linux/DataControlClipboard.h"

#include "platform/Descriptor.h"
#include "platform/linux/ContentPipes.h"

#include <QDeadlineTimer>
#include <QMimeData>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <utility>

using namespace Qt::StringLiterals;
using namespace DataControl;
using namespace std::chrono_literals;

namespace {

constexpr auto compositorPatience = 3s; // at the start alone; without it no window answers either
constexpr qsizetype mostTypes = 256;
constexpr qsizetype mostWriters = 16;

/// The names under which text is asked for, those from before MIME types too.
const QStringList& textTypes()
{
    static const QStringList types{ContentType::plainText, u"text/plain"_s, u"UTF8_STRING"_s};
    return types;
}

wl_display* connected()
{
    // Without either the library would try a usual name, which may be another session's.
    const bool isNamed = !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
        || !qEnvironmentVariableIsEmpty("WAYLAND_SOCKET");
    return isNamed ? wl_display_connect(nullptr) : nullptr;
}

Global bound(wl_proxy* registry, std::uint32_t name, const wl_interface& interface,
             const char* interfaceName)
{
    return Global(wl_proxy_marshal_flags(registry, WL_REGISTRY_BIND, &interface, version, 0, name,
                                         interfaceName, version, nullptr));
}

} // namespace

DataControlClipboard::DataControlClipboard(std::chrono::milliseconds patience)
    : m_patience(patience)
    , m_display(connected())
{
    if (!m_display)
        return;
    if (!getDevice()) {
        disconnectDisplay();
        return;
    }
    const int descriptor = wl_display_get_fd(m_display);
    m_readable.emplace(descriptor, QSocketNotifier::Read);
    connect(&*m_readable, &QSocketNotifier::activated, this, &DataControlClipboard::process);
    m_writable.emplace(descriptor, QSocketNotifier::Write);
    connect(&*m_writable, &QSocketNotifier::activated, this, &DataControlClipboard::flush);
    flush();
}

DataControlClipboard::~DataControlClipboard()
{
    disconnectDisplay();
    abandon();
}

void DataControlClipboard::disconnectDisplay()
{
    m_readable.reset();
    m_writable.reset();
    m_next = {};
    m_current = {};
    m_written = {};
    m_device.reset();
    m_manager.reset();
    m_seat.reset();
    m_registry.reset();
    if (m_display) {
        wl_display_flush(m_display);
        wl_display_disconnect(std::exchange(m_display, nullptr));
    }
}

bool DataControlClipboard::getDevice()
{
    findGlobals();
    std::size_t best = 0;
    while (best < managerNames.size() && !m_globals.managers[best])
        ++best;
    if (!m_globals.seat || best == managerNames.size())
        return false;
    m_seat = bound(m_registry.get(), *m_globals.seat, wl_seat_interface, wl_seat_interface.name);
    m_manager = bound(m_registry.get(), *m_globals.managers[best], manager, managerNames[best]);
    m_device.reset(requestNew(m_manager.get(), Request::getDevice, device, m_seat.get()));
    listenToDevice();
    return true;
}

/// Learns what the compositor has of what is needed here.
void DataControlClipboard::findGlobals()
{
    static const wl_registry_listener listener{
        .global =
            [](void* data, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t) {
                auto& found = *static_cast<Globals*>(data);
                if (std::strcmp(interface, wl_seat_interface.name) == 0 && !found.seat)
                    found.seat = name;
                for (std::size_t i = 0; i < managerNames.size(); ++i) {
                    if (std::strcmp(interface, managerNames[i]) == 0)
                        found.managers[i] = name;
                }
            },
        .global_remove = [](void*, wl_registry*, std::uint32_t) {},
    };
    wl_registry* registry = wl_display_get_registry(m_display);
    m_registry.reset(reinterpret_cast<wl_proxy*>(registry));
    wl_registry_add_listener(registry, &listener, &m_globals);
    awaitAnswer();
}

/// Lets the compositor answer all that it was asked so far.
void DataControlClipboard::awaitAnswer()
{
    static const wl_callback_listener listener{
        .done
        = [](void* isDone, wl_callback*, std::uint32_t) { *static_cast<bool*>(isDone) = true; }};
    bool isDone = false;
    wl_callback* answer = wl_display_sync(m_display);
    wl_callback_add_listener(answer, &listener, &isDone);
    wl_display_flush(m_display);
    const QDeadlineTimer deadline(compositorPatience);
    bool isAlive = true;
    while (!isDone && isAlive && !deadline.hasExpired()) {
        pollfd display{.fd = wl_display_get_fd(m_display), .events = POLLIN, .revents = 0};
        if (::poll(&display, 1, int(deadline.remainingTime())) > 0)
            isAlive = takeEvents();
    }
    wl_callback_destroy(answer);
}

/// Handles what has come. False when the compositor is gone.
bool DataControlClipboard::takeEvents()
{
    while (wl_display_prepare_read(m_display) != 0) {
        if (wl_display_dispatch_pending(m_display) < 0)
            return false;
    }
    return wl_display_read_events(m_display) == 0 && wl_display_dispatch_pending(m_display) >= 0
        && !m_isFinished;
}

void DataControlClipboard::process()
{
    if (!takeEvents()) {
        disconnectDisplay();
        return;
    }
    flush();
    if (!std::exchange(m_hasChanged, false))
        return;
    abandon();
    if (onChanged)
        onChanged();
}

void DataControlClipboard::flush()
{
    // Any other error is seen when reading.
    if (m_display)
        m_writable->setEnabled(wl_display_flush(m_display) < 0 && errno == EAGAIN);
}

void DataControlClipboard::listenToDevice()
{
    using Self = DataControlClipboard;
    static const DeviceListener listener{
        .dataOffer = [](void* self, wl_proxy*,
                        wl_proxy* offer) { static_cast<Self*>(self)->offerCame(offer); },
        .selection = [](void* self, wl_proxy*,
                        wl_proxy* offer) { static_cast<Self*>(self)->selectionCame(offer); },
        .finished = [](void* self, wl_proxy*) { static_cast<Self*>(self)->m_isFinished = true; },
        .primarySelection
        = [](void* self, wl_proxy*, wl_proxy*) { static_cast<Self*>(self)->m_next = {}; },
    };
    listen(m_device.get(), listener, this);
}

void DataControlClipboard::offerCame(wl_proxy* offer)
{
    static const OfferListener listener{
        .offer =
            [](void* self, wl_proxy*, const char* type) {
                QStringList& types = static_cast<DataControlClipboard*>(self)->m_next.types;
                if (types.size() < mostTypes)
                    types.append(QString::fromUtf8(type));
            },
    };
    m_next = {.proxy = Object(offer)};
    listen(offer, listener, this);
}

void DataControlClipboard::selectionCame(const wl_proxy* offer)
{
    m_current = offer ? std::move(m_next) : Offer();
    m_next = {};
    m_hasChanged = std::exchange(m_isContentKnown, true);
}

void DataControlClipboard::abandon()
{
    if (m_reader)
        m_reader->abandon();
}

void DataControlClipboard::read(const QString& type, qsizetype limit,
                                const BoardContent::Done& done)
{
    abandon();
    int ends[2];
    if (!m_current.proxy || ::pipe2(ends, O_CLOEXEC) != 0) {
        done({});
        return;
    }
    Descriptor ours(ends[0]);
    const Descriptor theirs(ends[1]);
    // Ours alone: many an owner writes as though a pipe could not be full.
    ::fcntl(ours.value(), F_SETFL, O_NONBLOCK);
    request(m_current.proxy.get(), Request::receive, type.toUtf8().constData(), theirs.value());
    flush();
    m_reader = new PipeReader(std::move(ours), limit, m_patience, done, this);
}

bool DataControlClipboard::write(std::unique_ptr<QMimeData> content)
{
    using Self = DataControlClipboard;
    static const SourceListener listener{
        .send =
            [](void* self, wl_proxy*, const char* type, std::int32_t target) {
                static_cast<Self*>(self)->send(QString::fromUtf8(type), target);
            },
        .cancelled =
            [](void* self, wl_proxy* source) {
                if (source == static_cast<Self*>(self)->m_written.proxy.get())
                    static_cast<Self*>(self)->m_written = {};
            },
    };
    if (!m_display)
        return false;
    QStringList types = content->formats();
    if (types.contains(u"text/plain"_s))
        types += textTypes();
    types.removeDuplicates();
    Object source(requestNew(m_manager.get(), Request::createSource, DataControl::source));
    listen(source.get(), listener, this);
    for (const QString& type : std::as_const(types))
        request(source.get(), Request::offerType, type.toUtf8().constData());
    request(m_device.get(), Request::setSelection, source.get());
    m_written = {.proxy = std::move(source), .content = std::move(content)};
    flush();
    return true;
}

void DataControlClipboard::send(const QString& type, int target)
{
    Descriptor descriptor(target);
    if (!m_written.content)
        return;
    const auto writers = findChildren<PipeWriter*>();
    if (writers.size() >= mostWriters)
        delete writers.constFirst();
    const QMimeData& content = *m_written.content;
    const QByteArray bytes
        = textTypes().contains(type) ? content.text().toUtf8() : content.data(type);
    new PipeWriter(std::move(descriptor), bytes, this);
}
