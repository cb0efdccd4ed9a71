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

/// The clipboard as it was when its owner listed `types`.
class OwnedContent final : public BoardContent {
public:
    using Ask = std::function<void(const QString& type, qsizetype limit, const Done& done)>;

    /// `ask` reads one of `types` from the owner. It is not used when `reader` is gone or `isNow`
    /// says that the content has been replaced.
    OwnedContent(QObject& reader, const QStringList& types, Ask ask, std::function<bool()> isNow)
        : m_reader(&reader)
        , m_types(types)
        , m_textTarget(textTarget(types))
        , m_ask(std::move(ask))
        , m_isNow(std::move(isNow))
    {
        if (!m_textTarget.isEmpty() && !m_types.contains(ContentType::plainText))
            m_types.append(ContentType::plainText);
    }

    [[nodiscard]] QStringList types() const override { return m_types; }

    void read(const QString& type, qsizetype limit, const Done& done) override
    {
        if (m_reader && m_isNow())
            m_ask(type == ContentType::plainText ? m_textTarget : type, limit, done);
        else
            done({});
    }

private:
    QPointer<QObject> m_reader;
    QStringList m_types;
    QString m_textTarget;
    Ask m_ask;
    std::function<bool()> m_isNow;
};

template<typename Reader>
std::shared_ptr<BoardContent> ownedContent(Reader& reader, const QStringList& types,
                                           const std::function<bool()>& isNow)
{
    const auto ask = [&reader](const QString& type, qsizetype limit,
                               const BoardContent::Done& done) { reader.read(type, limit, done); };
    return std::make_shared<OwnedContent>(reader, types, ask, isNow);
}

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
    m_isWatched = isWatched;
    if (!isWatched) {
        m_reader.reset();
        dropControl();
        return;
    }
    if (!m_reader)
        watchCompositor();
    if (!m_control && !m_reader && QGuiApplication::platformName() == "xcb"_L1) {
        m_reader.emplace(m_patience);
        m_reader->onOwnerChanged = [this] { changed(); };
        if (!m_reader->isConnected())
            m_reader.reset();
    }
    if (!m_control && !m_reader) // its signal stands for the clipboard alone
        connect(clipboard, &QClipboard::dataChanged, this, &DesktopClipboard::changed);
}

void DesktopClipboard::watchCompositor()
{
    if (m_control && m_control->isConnected())
        return;
    m_control.emplace(m_patience);
    m_control->onChanged = [this] {
        if (m_isWatched)
            changed();
        else // not within its own call
            QMetaObject::invokeMethod(this, &DesktopClipboard::dropControl, Qt::QueuedConnection);
    };
    if (!m_control->isConnected())
        m_control.reset();
}

/// What the user has copied from here is still there to be pasted.
void DesktopClipboard::dropControl()
{
    if (m_control && !m_isWatched && !m_control->isOwner())
        m_control.reset();
}

void DesktopClipboard::changed()
{
    ++m_changeCount;
    if (onChange)
        onChange();
}

void DesktopClipboard::fetch(const Fetched& fetched)
{
    const qint64 count = m_changeCount;
    const auto isNow = [this, count] { return count == m_changeCount; };
    if (m_control) {
        fetched(ownedContent(*m_control, m_control->types(), isNow));
    } else if (m_reader) {
        m_reader->read(
            u"TARGETS"_s, targetsLimit, [this, isNow, fetched](const ContentData& targets) {
                // The end of the reader is the end of its questions.
                if (m_reader && isNow())
                    fetched(ownedContent(*m_reader, m_reader->targetNames(targets.bytes()), isNow));
            });
    } else if (const QMimeData* data = QGuiApplication::clipboard()->mimeData()) {
        fetched(std::make_shared<MimeContent>(*data, m_pictureTypes, m_shyTypes));
    }
}

bool DesktopClipboard::write(std::unique_ptr<QMimeData> content)
{
    if (m_control && m_control->isConnected())
        return m_control->write(std::move(content));
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->setMimeData(content.release());
    return clipboard->ownsClipboard();
}
