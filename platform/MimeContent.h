#pragma once

#include "platform/ClipboardBoard.h"

#include <QHash>

class QMimeData;

/// The content of a drop, or of a clipboard that Qt has read: a copy of the formats that matter.
class MimeContent final : public BoardContent {
public:
    /// Takes addresses, plain text and the first of `pictureTypes` that there is. When one of
    /// `shyTypes` is on offer it takes the names alone.
    MimeContent(const QMimeData& data, const QStringList& pictureTypes,
                const QStringList& shyTypes = {});

    [[nodiscard]] QStringList types() const override { return m_types; }
    void read(const QString& type, qsizetype limit, const Done& done) override;

private:
    QStringList m_types;
    QHash<QString, QByteArray> m_data;
};
