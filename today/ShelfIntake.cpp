#include "today/ShelfIntake.h"

#include "platform/ClipboardBoard.h"
#include "today/ShelfPictures.h"

#include <QFileInfo>
#include <QPointer>
#include <QStringDecoder>
#include <QUrl>
#include <QtConcurrent>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype longestAddressList = 4 << 20; // bytes

/// The paths that the addresses in `list` name and that exist.
QStringList existingFiles(const ContentData& list)
{
    QStringList files;
    for (const QByteArray& line : list.bytes().split('\n')) {
        const QByteArray address = line.trimmed();
        if (address.isEmpty() || address.startsWith('#'))
            continue;
        const QString path = QUrl::fromEncoded(address).toLocalFile();
        if (path.startsWith(u'/') && QFileInfo::exists(path))
            files.append(path.size() > 1 && path.endsWith(u'/') ? path.chopped(1) : path);
    }
    return files;
}

/// `data` as text; null when there is nothing but white space in it.
QString worthyText(const ContentData& data)
{
    const QByteArray bytes = data.bytes();
    QStringDecoder decoder(QStringConverter::Utf8);
    QString text = decoder(bytes);
    if (decoder.hasError())
        text = QString::fromLatin1(bytes);
    const bool isBlank
        = std::ranges::all_of(text, [](QChar character) { return character.isSpace(); });
    return isBlank ? QString() : text;
}

PreparedPicture preparedPicture(const ContentData& data, const QString& type)
{
    return preparePicture(data.bytes(), type);
}

} // namespace

ShelfIntake::ShelfIntake(std::shared_ptr<BoardContent> content, QThreadPool& pool, Done done,
                         QObject* parent)
    : QObject(parent)
    , m_content(std::move(content))
    , m_pool(pool)
    , m_done(std::move(done))
{
    QMetaObject::invokeMethod(this, &ShelfIntake::readFiles, Qt::QueuedConnection);
}

void ShelfIntake::finish(const ShelfCopy& copy)
{
    if (m_done)
        m_done(copy);
    deleteLater();
}

void ShelfIntake::readFiles()
{
    if (!m_content->types().contains(ContentType::addresses)) {
        readPicture();
        return;
    }
    const auto cameAddresses = [intake = QPointer(this)](const ContentData& list) {
        if (!intake)
            return;
        QtConcurrent::run(&intake->m_pool, existingFiles, list)
            .then(intake.data(), [intake = intake.data()](const QStringList& files) {
                if (files.isEmpty())
                    intake->readPicture();
                else
                    intake->finish({.kind = ShelfCopy::Kind::files, .files = files});
            });
    };
    m_content->read(ContentType::addresses, longestAddressList, cameAddresses);
}

void ShelfIntake::readPicture()
{
    const QStringList offered = m_content->types();
    const QStringList wanted = pictureTypes();
    const auto type = std::ranges::find_if(
        wanted, [&offered](const QString& one) { return offered.contains(one); });
    if (type == wanted.end()) {
        readText();
        return;
    }
    const auto isPrepared = [this](const PreparedPicture& picture) {
        if (picture.status == PreparedPicture::Status::unreadable)
            readText();
        else if (picture.status == PreparedPicture::Status::tooLarge)
            finish({.kind = ShelfCopy::Kind::tooLarge});
        else
            finish({.kind = ShelfCopy::Kind::picture, .png = picture.png});
    };
    const auto cameBytes
        = [intake = QPointer(this), isPrepared, name = *type](const ContentData& data) {
              if (!intake)
                  return;
              if (data.status == ContentData::Status::tooLarge)
                  intake->finish({.kind = ShelfCopy::Kind::tooLarge});
              else
                  QtConcurrent::run(&intake->m_pool, preparedPicture, data, name)
                      .then(intake.data(), isPrepared);
          };
    m_content->read(*type, largestPicture, cameBytes);
}

void ShelfIntake::readText()
{
    const auto isDecoded = [this](const QString& text) {
        const auto kind = text.isEmpty() ? ShelfCopy::Kind::nothing : ShelfCopy::Kind::text;
        finish({.kind = kind, .text = text});
    };
    const auto cameText = [intake = QPointer(this), isDecoded](const ContentData& data) {
        if (!intake)
            return;
        if (data.status == ContentData::Status::tooLarge)
            intake->finish({.kind = ShelfCopy::Kind::tooLarge});
        else
            QtConcurrent::run(&intake->m_pool, worthyText, data).then(intake.data(), isDecoded);
    };
    m_content->read(ContentType::plainText, longestText, cameText);
}
