#include "platform/CrashReports.h"

#include "platform/PreferenceStore.h"

#include <QDir>
#include <QFile>

#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString newestKey = u"newestCrashReport"_s;

constexpr std::size_t longestPath = 4096;
constexpr std::size_t longestVersion = 200;
constexpr int mostFrames = 100;
constexpr unsigned mostSeconds = 10; // for a report; whatever hangs then ends with the process

struct CrashSignal {
    int number;
    std::string_view name;
};

constexpr std::array crashSignals{
    CrashSignal{SIGSEGV, "SIGSEGV, an invalid address"},
    CrashSignal{SIGABRT, "SIGABRT, the program gave up"},
    CrashSignal{SIGBUS, "SIGBUS, memory that is not there"},
    CrashSignal{SIGFPE, "SIGFPE, an impossible calculation"},
    CrashSignal{SIGILL, "SIGILL, an unknown instruction"},
};

// What the handler works with is made beforehand: in a crashed process nothing may be allocated.
struct Prepared {
    std::array<char, longestPath> folder;
    std::array<char, longestPath> oldest; // goes when a new one has been written; may be empty
    std::array<char, longestVersion> version;
    alignas(16) std::array<char, 256 << 10> stack; // its own, for when the program's has run over
};

Prepared prepared; // NOLINT: a handler has no other way to its data
std::atomic_flag isWriting = ATOMIC_FLAG_INIT;

template<std::size_t size> void keep(std::array<char, size>& place, const QByteArray& text)
{
    qstrncpy(place.data(), text.constData(), size);
}

/// Text in a fixed place. What does not fit is cut off. Only calls that a signal handler may make.
template<std::size_t size> class Text {
public:
    Text& operator<<(std::string_view text)
    {
        const std::size_t count = std::min(text.size(), size - 1 - m_length);
        std::memcpy(m_bytes.data() + m_length, text.data(), count);
        m_length += count;
        m_bytes.at(m_length) = '\0';
        return *this;
    }
    /// `value` with at least `digits`.
    Text& number(unsigned long value, std::size_t digits = 1, int base = 10)
    {
        std::array<char, 24> buffer;
        const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, base);
        const auto count = std::size_t(end.ptr - buffer.data());
        for (std::size_t i = count; i < digits; ++i)
            *this << "0";
        return *this << std::string_view(buffer.data(), count);
    }
    [[nodiscard]] const char* data() const { return m_bytes.data(); }
    [[nodiscard]] std::string_view view() const { return {m_bytes.data(), m_length}; }

private:
    std::array<char, size> m_bytes{};
    std::size_t m_length = 0;
};

/// False when not all of `text` could be written.
bool writeAll(int file, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = ::write(file, text.data(), text.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        text.remove_prefix(std::size_t(count));
    }
    return true;
}

/// "2026-06-02T09:30:15Z", with the given separators. The library's own calendar takes locks.
Text<32> utcTime(std::string_view dash, std::string_view middle, std::string_view colon,
                 std::string_view end)
{
    using namespace std::chrono;
    const sys_seconds now{seconds(::time(nullptr))};
    const auto day = floor<days>(now);
    const year_month_day date(day);
    const hh_mm_ss clock(now - day);
    Text<32> text;
    text.number(unsigned(int(date.year())), 4) << dash;
    text.number(unsigned(date.month()), 2) << dash;
    text.number(unsigned(date.day()), 2) << middle;
    text.number(unsigned(clock.hours().count()), 2) << colon;
    text.number(unsigned(clock.minutes().count()), 2) << colon;
    text.number(unsigned(clock.seconds().count()), 2) << end;
    return text;
}

Text<512> header(int signal)
{
    Text<512> text;
    text << "Vexlo crash report\n\nTime:    " << utcTime("-", "T", ":", "Z").view()
         << "\nVersion: " << prepared.version.data() << "\nSignal:  ";
    text.number(unsigned(signal)) << ", ";
    for (const CrashSignal& known : crashSignals) {
        if (known.number == signal)
            text << known.name;
    }
    text << "\n\nCalled, the latest first (file+offset, function):\n";
    return text;
}

/// The file's name alone: its folder may tell who the user is.
Text<512> frameLine(int number, void* address)
{
    Text<512> text;
    text.number(unsigned(number), 2) << "  ";
    Dl_info place{};
    if (::dladdr(address, &place) == 0 || !place.dli_fname) {
        text << "?";
        return text << "\n";
    }
    const char* slash = std::strrchr(place.dli_fname, '/');
    text << (slash ? slash + 1 : place.dli_fname) << "+0x";
    text.number(static_cast<char*>(address) - static_cast<char*>(place.dli_fbase), 1, 16);
    if (place.dli_sname)
        text << "  " << std::string_view(place.dli_sname).substr(0, 300);
    return text << "\n";
}

void writeFrames(int file)
{
    std::array<void*, mostFrames> frames;
    const int count = ::backtrace(frames.data(), mostFrames);
    for (int i = 0; i < count; ++i) {
        if (!writeAll(file, frameLine(i, frames.at(std::size_t(i))).view()))
            return;
    }
}

/// With what is missing above it.
void makeFolder()
{
    for (char* end = prepared.folder.data() + 1; *end != '\0'; ++end) {
        if (*end == '/') {
            *end = '\0';
            ::mkdir(prepared.folder.data(), 0700);
            *end = '/';
        }
    }
    ::mkdir(prepared.folder.data(), 0700);
}

/// A report without its first lines is of no use and goes; the rest may end where the disk does.
void writeReport(int signal)
{
    makeFolder();
    Text<longestPath + 64> path;
    path << prepared.folder.data() << "/Vexlo-" << utcTime("-", "-", "", "-").view();
    path.number(unsigned(::getpid())) << ".txt";
    const int file = ::open(path.data(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0)
        return;
    if (!writeAll(file, header(signal).view())) {
        ::unlink(path.data());
        return;
    }
    if (prepared.oldest.front() != '\0')
        ::unlink(prepared.oldest.data());
    writeFrames(file);
    ::close(file);
}

extern "C" void handleCrash(int signal)
{
    // Another thread is already at it, and will end this one.
    while (isWriting.test_and_set())
        ::pause();
    std::signal(SIGXFSZ, SIG_IGN); // a limit on file sizes is an error like a full disk
    std::signal(SIGALRM, SIG_DFL);
    ::alarm(mostSeconds);
    writeReport(signal);
    ::alarm(0);
    std::signal(signal, SIG_DFL);
    ::raise(signal); // held back until this handler returns
}

} // namespace

CrashReports::CrashReports(QString folder)
    : m_folder(std::move(folder))
{
}

QString CrashReports::defaultFolder()
{
    QString state = qEnvironmentVariable("XDG_STATE_HOME");
    if (QDir::isRelativePath(state))
        state = QDir::homePath() + "/.local/state"_L1;
    return state + "/Gridwell/crashes"_L1;
}

void CrashReports::install(const QString& version) const
{
    removeOld();
    const QStringList present = reports();
    keep(prepared.folder, QFile::encodeName(m_folder));
    keep(prepared.version, version.toUtf8());
    if (present.size() >= mostReports)
        keep(prepared.oldest, QFile::encodeName(m_folder + u'/' + present.constLast()));

    // The first call loads a library, which a handler must not.
    std::array<void*, 1> frame;
    ::backtrace(frame.data(), 1);

    stack_t stack{};
    stack.ss_sp = prepared.stack.data();
    stack.ss_size = prepared.stack.size();
    ::sigaltstack(&stack, nullptr);
    struct sigaction action { };
    action.sa_handler = handleCrash;
    action.sa_flags = SA_ONSTACK;
    for (const CrashSignal& known : crashSignals)
        sigaddset(&action.sa_mask, known.number);
    for (const CrashSignal& known : crashSignals)
        ::sigaction(known.number, &action, nullptr);
}

QStringList CrashReports::reports() const
{
    QStringList names = QDir(m_folder).entryList(QDir::Files, QDir::Name | QDir::Reversed);
    names.removeIf([](const QString& name) {
        return !name.startsWith("Vexlo-"_L1) || !name.endsWith(".txt"_L1);
    });
    return names;
}

std::optional<QString> CrashReports::crashSinceLastStart(PreferenceStore& preferences) const
{
    const QString newest = reports().value(0);
    const QString known = preferences.text(newestKey).value_or(QString());
    if (newest <= known)
        return std::nullopt;
    preferences.setText(newestKey, newest);
    return m_folder + u'/' + newest;
}

void CrashReports::removeOld() const
{
    for (const QString& name : reports().mid(mostReports))
        QFile::remove(m_folder + u'/' + name);
}
