#include "platform/MimeContent.h"

#include <QMimeData>

#include <algorithm>

using namespace Qt::StringLiterals;

MimeContent::MimeContent(const QMimeData& data, const QStringList& pictureTypes,
                         const QStringList& shyTypes)
    : m_types(data.formats())
{
    const auto isOffered = [this](const QString& type) { return m_types.contains(type); };
    if (std::ranges::any_of(shyTypes, isOffered))
        return;
    if (data.hasUrls())
        m_data.insert(ContentType::addresses, data.data(ContentType::addresses));
    if (const auto type = std::ranges::find_if(pictureTypes, isOffered); type != pictureTypes.end())
        m_data.insert(*type, data.data(*type));
    if (data.hasFormat(u"text/plain"_s)) { // `hasText` would take addresses for text
        m_data.insert(ContentType::plainText, data.text().toUtf8());
        if (!isOffered(ContentType::plainText))
            m_types.append(ContentType::plainText);
    }
}

void MimeContent::read(const QString& type, qsizetype limit, const Done& done)
{
    using enum ContentData::Status;
    const auto found = m_data.constFind(type);
    if (found == m_data.cend())
        done({.status = absent});
    else if (found->size() > limit)
        done({.status = tooLarge});
    else
        done({.status = read, .parts = {*found}});
}
