#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>
#include <QStringList>

// Pictures from other programs. Everything here may take long and may run on any thread.

/// What is kept of a copied text or picture at most, in bytes; for a picture also when decoded.
inline constexpr qsizetype longestText = 16 << 20;
inline constexpr qsizetype largestPicture = 64 << 20;

/// The picture formats that are read from a clipboard or a drop, the best first.
[[nodiscard]] QStringList pictureTypes();

/// A copied picture as it is kept.
struct PreparedPicture {
    enum class Status { ready, unreadable, tooLarge };

    Status status = Status::unreadable;
    QByteArray png; // empty unless `status` is `ready`
};

/// Checks that `bytes` are a picture of `type`, and turns it into a PNG. One that is a PNG stays as
/// it is.
[[nodiscard]] PreparedPicture preparePicture(const QByteArray& bytes, const QString& type);

/// The picture in the file `path`, made to fit into `size` pixels and never larger than it is. A
/// null image when it cannot be read or is too large.
[[nodiscard]] QImage pictureThumbnail(const QString& path, QSize size);
