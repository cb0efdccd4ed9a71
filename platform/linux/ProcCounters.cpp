#include "platform/linux/ProcCounters.h"

#include "platform/Descriptor.h"
#include "platform/Files.h"

#include <QDir>

#include <algorithm>
#include <limits>

#include <arpa/inet.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/statvfs.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 longestFile = 4 << 20;
constexpr double freezingPoint = 2731.5; // tenths of a kelvin; the kernel counts from there
constexpr qint64 fullPercentage = 100;

namespace Route { // columns of /proc/net/route
constexpr qsizetype interface = 0;
constexpr qsizetype destination = 1;
constexpr qsizetype metric = 6;
constexpr qsizetype mask = 7;
} // namespace Route

/// Calls `visit` with every line's words.
template<typename Visit> void forEachLine(const QByteArray& text, Visit visit)
{
    for (qsizetype start = 0; start < text.size();) {
        qsizetype end = text.indexOf('\n', start);
        end = end < 0 ? text.size() : end;
        visit(text.mid(start, end - start).simplified());
        start = end + 1;
    }
}

std::optional<quint64> unsignedNumber(const QByteArray& text)
{
    bool isNumber = false;
    const quint64 value = text.toULongLong(&isNumber);
    return isNumber ? std::optional(value) : std::nullopt;
}

/// `text` is the contents of /proc/stat. Its first line has the ticks spent on user, nice, system,
/// idle, waiting for a disk, two kinds of interrupts and stolen by other machines; what a guest got
/// is in user already. Old kernels end earlier.
std::optional<ProcessorTicks> processorTicks(const QByteArray& text)
{
    constexpr qsizetype idleColumn = 4;
    constexpr qsizetype waitingColumn = 5;
    constexpr qsizetype lastColumn = 8;
    const QList<QByteArray> words = text.left(text.indexOf('\n')).simplified().split(' ');
    if (words.first() != "cpu" || words.size() <= idleColumn)
        return std::nullopt;
    ProcessorTicks ticks;
    for (qsizetype column = 1; column < std::min(words.size(), lastColumn + 1); ++column) {
        const std::optional<quint64> count = unsignedNumber(words[column]);
        if (!count)
            return std::nullopt;
        ticks.total += *count;
        if (column == idleColumn || column == waitingColumn)
            ticks.idle += *count;
    }
    return ticks;
}

/// `text` is the contents of /proc/meminfo.
std::optional<Capacity> memory(const QByteArray& text)
{
    std::optional<quint64> total;
    std::optional<quint64> available;
    forEachLine(text, [&](const QByteArray& line) {
        const QList<QByteArray> words = line.split(' ');
        if (words.size() < 2)
            return;
        if (words[0] == "MemTotal:")
            total = unsignedNumber(words[1]);
        else if (words[0] == "MemAvailable:")
            available = unsignedNumber(words[1]);
    });
    if (!total || !available)
        return std::nullopt;
    return Capacity{.available = *available << 10, .total = *total << 10};
}

/// The interface that takes what has no route of its own; empty for none. `text` is the contents of
/// /proc/net/route. Tunnels that only cover the default with two halves have a mask.
QString defaultRouteInterface(const QByteArray& text)
{
    QString interface;
    quint64 lowestMetric = std::numeric_limits<quint64>::max();
    forEachLine(text, [&](const QByteArray& line) {
        const QList<QByteArray> words = line.split(' ');
        if (words.size() <= Route::mask || words[Route::destination] != "00000000"
            || words[Route::mask] != "00000000")
            return;
        const quint64 metric = unsignedNumber(words[Route::metric]).value_or(lowestMetric);
        if (metric < lowestMetric) {
            lowestMetric = metric;
            interface = QString::fromLocal8Bit(words[Route::interface]);
        }
    });
    return interface;
}

/// `words` are the columns behind an interface's name in /proc/net/dev.
std::optional<TransferredBytes> transferredBytes(const QList<QByteArray>& words)
{
    constexpr qsizetype receivedColumn = 0;
    constexpr qsizetype sentColumn = 8;
    if (words.size() <= sentColumn)
        return std::nullopt;
    const std::optional<quint64> received = unsignedNumber(words[receivedColumn]);
    const std::optional<quint64> sent = unsignedNumber(words[sentColumn]);
    if (!received || !sent)
        return std::nullopt;
    return TransferredBytes{.received = *received, .sent = *sent};
}

} // namespace

QString interfaceAddress(const QString& interface)
{
    const QByteArray name = QFile::encodeName(interface);
    ifreq request{};
    if (name.size() >= qsizetype(sizeof(request.ifr_name)))
        return {};
    std::copy(name.cbegin(), name.cend(), request.ifr_name);
    const Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!socket.isOpen() || ::ioctl(socket.value(), SIOCGIFADDR, &request) != 0)
        return {};
    const auto* address = reinterpret_cast<const sockaddr_in*>(&request.ifr_addr);
    char text[INET_ADDRSTRLEN] = {};
    return QString::fromLatin1(::inet_ntop(AF_INET, &address->sin_addr, text, sizeof(text)));
}

ProcCounters::ProcCounters(QString root, AddressLookup addressOf)
    : m_root(std::move(root))
    , m_addressOf(std::move(addressOf))
{
    if (!m_root.endsWith(u'/'))
        m_root += u'/';
}

SystemReading ProcCounters::read() const
{
    return {
        .processor = processorTicks(contents(u"proc/stat"_s)),
        .memory = memory(contents(u"proc/meminfo"_s)),
        .disk = disk(),
        .network = network(),
        .batteries = batteries(),
    };
}

QByteArray ProcCounters::contents(const QString& path) const
{
    return readFile(m_root + path, longestFile).contents;
}

std::optional<qint64> ProcCounters::number(const QString& path) const
{
    bool isNumber = false;
    const qint64 value = contents(path).trimmed().toLongLong(&isNumber, 0);
    return isNumber ? std::optional(value) : std::nullopt;
}

std::optional<Capacity> ProcCounters::disk() const
{
    struct statvfs status { };
    if (::statvfs(QFile::encodeName(m_root).constData(), &status) != 0)
        return std::nullopt;
    // As df reckons: what is kept for the system is nobody's, neither used nor to be had.
    const quint64 used = quint64(status.f_blocks) - quint64(status.f_bfree);
    const quint64 available = status.f_bavail;
    return Capacity{.available = available * status.f_frsize,
                    .total = (used + available) * status.f_frsize};
}

std::optional<QList<NetworkInterface>> ProcCounters::network() const
{
    const QByteArray counters = contents(u"proc/net/dev"_s);
    if (counters.isEmpty())
        return std::nullopt;
    const QString defaultRoute = defaultRouteInterface(contents(u"proc/net/route"_s));
    QList<NetworkInterface> interfaces;
    forEachLine(counters, [&](const QByteArray& line) {
        const qsizetype colon = line.indexOf(':');
        const QString name = QString::fromLocal8Bit(line.left(std::max<qsizetype>(colon, 0)));
        const bool device = !name.isEmpty() && hasDevice(name);
        if (name.isEmpty() || (!device && name != defaultRoute) || !isUp(name))
            return;
        interfaces.append({
            .name = name,
            .address = m_addressOf(name),
            .isDefaultRoute = name == defaultRoute,
            .isVirtual = !device,
            .bytes = transferredBytes(line.mid(colon + 1).simplified().split(' ')),
        });
    });
    return interfaces;
}

bool ProcCounters::isUp(const QString& interface) const
{
    const qint64 flags = number(u"sys/class/net/%1/flags"_s.arg(interface)).value_or(0);
    return (flags & IFF_UP) != 0 && (flags & IFF_LOOPBACK) == 0;
}

bool ProcCounters::hasDevice(const QString& interface) const
{
    const QString device = m_root + u"sys/class/net/%1/device"_s.arg(interface);
    return ::access(QFile::encodeName(device).constData(), F_OK) == 0;
}

QStringList ProcCounters::batteryFolders() const
{
    const QString supplies = u"sys/class/power_supply/"_s;
    QStringList folders;
    for (const QString& name :
         QDir(m_root + supplies).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString folder = supplies + name + u'/';
        // A mouse or a headset says that the battery is a device's.
        if (contents(folder + u"type"_s).trimmed() == "Battery"
            && contents(folder + u"scope"_s).trimmed() != "Device")
            folders.append(folder);
    }
    return folders;
}

QList<Battery> ProcCounters::batteries() const
{
    const QStringList folders = batteryFolders();
    // Packs add up only in one unit: the first that all tell, else the one that most do.
    QList<Battery> best;
    qsizetype mostKnown = -1;
    for (const auto& [now, full] :
         {std::pair(u"energy_now"_s, u"energy_full"_s),
          std::pair(u"charge_now"_s, u"charge_full"_s), std::pair(u"capacity"_s, QString())}) {
        if (mostKnown == folders.size())
            break;
        const QList<Battery> packs = charges(folders, now, full);
        const qsizetype known = std::count_if(
            packs.cbegin(), packs.cend(), [](const Battery& pack) { return pack.fullCharge > 0; });
        if (known > mostKnown) {
            mostKnown = known;
            best = packs;
        }
    }
    for (qsizetype i = 0; i < best.size(); ++i) {
        if (const std::optional<qint64> celsius = number(folders[i] + u"temp"_s))
            best[i].temperature = double(*celsius) + freezingPoint;
    }
    return best;
}

QList<Battery> ProcCounters::charges(const QStringList& folders, const QString& nowName,
                                     const QString& fullName) const
{
    QList<Battery> packs;
    for (const QString& folder : folders) {
        const std::optional<qint64> now = number(folder + nowName);
        const std::optional<qint64> full
            = fullName.isEmpty() ? fullPercentage : number(folder + fullName);
        const bool isKnown = now && full && *now >= 0 && *full > 0;
        // Some count on while the last that was called full still stands.
        packs.append(isKnown ? Battery{.charge = std::min(*now, *full), .fullCharge = *full}
                             : Battery());
    }
    return packs;
}
