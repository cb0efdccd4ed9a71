#include "platform/linux/AutostartEntry.h"

#include "platform/Files.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr auto mainGroup = "[Desktop Entry]"_L1;
constexpr auto execKey = "Exec"_L1;
constexpr int permissions = 0644; // as every entry of the desktop's has

/// The lines of an entry, whatever is in them.
class EntryLines {
public:
    explicit EntryLines(const QByteArray& contents)
        : m_lines(QString::fromUtf8(contents).split(u'\n'))
    {
    }

    /// The value of `key` in the main group; absent when it is not there.
    [[nodiscard]] std::optional<QString> value(QLatin1StringView key) const
    {
        const qsizetype line = find(key);
        if (line < 0)
            return std::nullopt;
        return m_lines.at(line).section(u'=', 1).trimmed();
    }

    /// Replaces the value of `key`, which must be there.
    void setValue(QLatin1StringView key, const QString& value)
    {
        m_lines[find(key)] = key + u'=' + value;
    }

    [[nodiscard]] QByteArray contents() const { return m_lines.join(u'\n').toUtf8(); }

private:
    [[nodiscard]] qsizetype find(QLatin1StringView key) const
    {
        bool isInMainGroup = false;
        for (qsizetype i = 0; i < m_lines.size(); ++i) {
            const QString line = m_lines.at(i).trimmed();
            if (line.startsWith(u'['))
                isInMainGroup = line == mainGroup;
            else if (isInMainGroup && line.section(u'=', 0, 0).trimmed() == key
                     && line.contains(u'='))
                return i;
        }
        return -1;
    }

    QStringList m_lines;
};

/// Set by desktops where the user switches an entry off.
bool isHidden(const EntryLines& lines)
{
    return lines.value("Hidden"_L1) == "true"_L1;
}

/// A value as the file has it: with its line ends and backslashes escaped.
QString escapedValue(QString text)
{
    return text.replace(u'\\', u"\\\\"_s)
        .replace(u'\n', u"\\n"_s)
        .replace(u'\r', u"\\r"_s)
        .replace(u'\t', u"\\t"_s);
}

QString unescapedValue(const QString& text)
{
    static constexpr std::pair<char16_t, char16_t> meanings[]
        = {{u's', u' '}, {u'n', u'\n'}, {u't', u'\t'}, {u'r', u'\r'}, {u'\\', u'\\'}};
    QString value;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const auto* meaning = text.at(i) == u'\\' && i + 1 < text.size()
            ? std::ranges::find(meanings, text.at(i + 1).unicode(),
                                &std::pair<char16_t, char16_t>::first)
            : std::ranges::end(meanings);
        value += meaning == std::ranges::end(meanings) ? text.at(i) : QChar(meaning->second);
        i += meaning == std::ranges::end(meanings) ? 0 : 1;
    }
    return value;
}

/// One argument of a command line in an entry, quoted where it must be. A percent sign would start
/// a field.
QString quotedArgument(const QString& argument)
{
    static const QRegularExpression plain(u"^[\\w./+:@,-]+$"_s);
    if (plain.match(argument).hasMatch())
        return argument;
    QString quoted = u"\""_s;
    for (const QChar character : argument) {
        if (u"\"`$\\"_s.contains(character))
            quoted += u'\\';
        quoted += character;
        if (character == u'%')
            quoted += character;
    }
    return quoted + u'"';
}

/// The program that a command line of an entry starts; empty when it names none.
QString programOf(const QString& execValue)
{
    const QString line = unescapedValue(execValue);
    QString program;
    bool isQuoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        if (line.at(i) == u'"')
            isQuoted = !isQuoted;
        else if (line.at(i).isSpace() && !isQuoted)
            break;
        else if (i + 1 < line.size()
                 && ((isQuoted && line.at(i) == u'\\')
                     || (line.at(i) == u'%' && line.at(i + 1) == u'%')))
            program += line.at(++i);
        else
            program += line.at(i);
    }
    return program;
}

/// Whether `program`, a path or a name to look for, is there to be started.
bool isThere(const QString& program)
{
    return !program.isEmpty() && !QStandardPaths::findExecutable(program).isEmpty();
}

QString execValue(const QString& program)
{
    return escapedValue(quotedArgument(program) + " --background"_L1);
}

} // namespace

AutostartEntry::AutostartEntry(const QString& configFolder, QString program)
    : m_file(configFolder + "/autostart/dev.gridwell.Vexlo.desktop"_L1)
    , m_program(std::move(program))
{
}

QString AutostartEntry::userConfigFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
}

LoginItem::Status AutostartEntry::status() const
{
    const ReadResult entry = readFile(m_file);
    // What we cannot read, the desktop cannot either.
    if (entry.status != ReadStatus::read)
        return Status::disabled;
    const EntryLines lines(entry.contents);
    if (isHidden(lines))
        return Status::pendingApproval;
    return lines.value(execKey) ? Status::enabled : Status::disabled;
}

std::optional<QString> AutostartEntry::enable()
{
    const ReadStatus found = readFile(m_file).status;
    const bool canBeReplaced = found == ReadStatus::read || found == ReadStatus::missing;
    if (status() == Status::pendingApproval)
        return std::nullopt;
    if (!canBeReplaced || !makePrivateFolder(QFileInfo(m_file).path())
        || replaceFile(m_file, contents(), {.permissions = permissions}) != ReplaceStatus::replaced)
        return tr("%1 cannot be written").arg(m_file);
    return std::nullopt;
}

std::optional<QString> AutostartEntry::disable()
{
    QFile entry(m_file);
    if (entry.remove() || readFile(m_file).status == ReadStatus::missing)
        return std::nullopt;
    return tr("%1 cannot be removed").arg(m_file);
}

void AutostartEntry::mend()
{
    const ReadResult entry = readFile(m_file);
    if (entry.status != ReadStatus::read)
        return;
    EntryLines lines(entry.contents);
    const std::optional<QString> exec = lines.value(execKey);
    if (!exec || isHidden(lines) || isThere(programOf(*exec)))
        return;
    lines.setValue(execKey, execValue(m_program));
    (void)replaceFile(m_file, lines.contents(), {.permissions = permissions});
}

QByteArray AutostartEntry::contents() const
{
    return ("[Desktop Entry]\n"
            "Type=Application\n"
            "Name=Vexlo\n"
            "Comment="_L1
            + escapedValue(tr("AI allowance and system health in the status bar")) + "\nExec="_L1
            + execValue(m_program)
            + "\nIcon=dev.gridwell.Vexlo\n"
              "Terminal=false\n"
              "StartupNotify=false\n"_L1)
        .toUtf8();
}
