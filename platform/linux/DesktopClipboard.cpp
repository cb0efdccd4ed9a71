#include "platform/linux/DesktopClipboard.h"

#include "platform/MimeContent.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QPointer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype targetsLimit = 64 << 10; // bytes

/// The name under which an owner with `targets` is asked for plain text; empty for none. Some
/// programs know the names from before MIME types alone.
QString textTarget(const QStringList& targets)
{
    for (const QString& wanted :
         {u"UTF8_STRING"_s, QString(ContentType::plainText), u"text/plain"_s, u"STRING"_s}) {
        const auto same = [&wanted](const QString& target) {
            return target.compare(wanted, Qt::CaseInsensitive) == 0;
        };
        if (const auto found = std::ranges::find_if(targets, same); found != targets.end())
            return *found;
    }
    return {};
}

/// The X11 clipboard as it was when its owner listed `targets`.
class SelectionContent final : public BoardContent {
public:
    SelectionContent(SelectionReader& reader, const QStringList& targets,
                     std::function<bool()> isNow)
        : m_reader(&reader)
        , m_types(targets)
        , m_textTarget(textTarget(targets))
        , m_isNow(std::move(isNow))
    {
        if (!m_textTarget.isEmpty() && !m_types.contains(ContentType::plainText))
            m_types.append(ContentType::plainText);
    }

    [[nodiscard]] QStringList types() const override { return m_types; }

    void read(const QString& type, qsizetype limit, const Done& done) override
    {
        if (m_reader && m_isNow())
            m_reader->read(type == ContentType::plainText ? m_textTarget : type, limit, done);
        else
            done({});
    }

private:
    QPointer<SelectionReader> m_reader;
    QStringList m_types;
    QString m_textTarget;
    std::function<bool()> m_isNow;
};

} // namespace

DesktopClipboard::DesktopClipboard(QStringList pictureTypes, QStringList shyTypes,
                                   std::chrono::milliseconds patience)
    : m_pictureTypes(std::move(pictureTypes))
    , m_shyTypes(std::move(shyTypes))
    , m_patience(patience)
{
}

void DesktopClipboard::setWatched(bool isWatched)
{
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->disconnect(this);
    if (!isWatched) {
        m_reader.reset();
        return;
    }
    if (!m_reader && QGuiApplication::platformName() == "xcb"_L1) {
        m_reader.emplace(m_patience);
        m_reader->onOwnerChanged = [this] { changed(); };
        if (!m_reader->isConnected())
            m_reader.reset();
    }
    if (!m_reader) // its signal stands for the clipboard alone
        connect(clipboard, &QClipboard::dataChanged, this, &DesktopClipboard::changed);
}

void DesktopClipboard::changed()
{
    ++m_changeCount;
    if (onChange)
        onChange();
}

void DesktopClipboard::fetch(const Fetched& fetched)
{
    if (!m_reader) {
        if (const QMimeData* data = QGuiApplication::clipboard()->mimeData())
            fetched(std::make_shared<MimeContent>(*data, m_pictureTypes, m_shyTypes));
        return;
    }
    const qint64 count = m_changeCount;
    const auto isNow = [this, count] { return count == m_changeCount; };
    m_reader->read(u"TARGETS"_s, targetsLimit, [this, isNow, fetched](const ContentData& targets) {
        if (isNow())
            fetched(std::make_shared<SelectionContent>(
                *m_reader, m_reader->targetNames(targets.bytes()), isNow));
    });
}

bool DesktopClipboard::write(std::unique_ptr<QMimeData> content)
{
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->setMimeData(content.release());
    return clipboard->ownsClipboard();
}
