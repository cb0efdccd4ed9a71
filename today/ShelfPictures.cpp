#include "today/ShelfPictures.h"

#include "platform/ClipboardBoard.h"

#include <QBuffer>
#include <QImageReader>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

struct PictureFormat {
    QLatin1StringView type;
    const char* reader; // Qt's name
};

// Drawings such as SVG are not among them: they can name other files.
constexpr std::array<PictureFormat, 7> formats{{
    {ContentType::png, "png"},
    {"image/jpeg"_L1, "jpg"},
    {"image/webp"_L1, "webp"},
    {"image/tiff"_L1, "tiff"},
    {"image/bmp"_L1, "bmp"},
    {"image/x-bmp"_L1, "bmp"},
    {"image/gif"_L1, "gif"},
}};

constexpr qint64 bytesPerPixel = 4;

bool isTooLarge(QSize size)
{
    return qint64(size.width()) * size.height() > largestPicture / bytesPerPixel;
}

QByteArray encoded(const QImage& image)
{
    QByteArray png;
    QBuffer buffer(&png);
    return buffer.open(QIODevice::WriteOnly) && image.save(&buffer, "PNG") ? png : QByteArray();
}

} // namespace

QStringList pictureTypes()
{
    QStringList types;
    for (const PictureFormat& format : formats)
        types.append(format.type);
    return types;
}

PreparedPicture preparePicture(const QByteArray& bytes, const QString& type)
{
    using enum PreparedPicture::Status;
    const auto format = std::ranges::find(formats, type, &PictureFormat::type);
    if (format == formats.end())
        return {};
    if (bytes.size() > largestPicture)
        return {.status = tooLarge};
    QBuffer buffer;
    buffer.setData(bytes);
    QImageReader reader(&buffer, format->reader);
    reader.setAutoDetectImageFormat(false);
    // The header may promise anything; what is decoded must fit before memory is set aside for it.
    if (isTooLarge(reader.size()))
        return {.status = tooLarge};
    const QImage image = reader.read();
    if (image.isNull())
        return {};
    if (isTooLarge(image.size()))
        return {.status = tooLarge};
    const QByteArray png = type == ContentType::png ? bytes : encoded(image);
    if (png.size() > largestPicture)
        return {.status = tooLarge};
    return {.status = png.isEmpty() ? unreadable : ready, .png = png};
}

QImage pictureThumbnail(const QString& path, QSize size)
{
    QImageReader reader(path);
    reader.setAutoTransform(true); // as a camera was held
    const QSize whole = reader.size();
    if (!whole.isValid() || whole.isEmpty() || isTooLarge(whole))
        return {};
    if (whole.width() > size.width() || whole.height() > size.height())
        reader.setScaledSize(
            whole.scaled(size, Qt::KeepAspectRatio).expandedTo({1, 1}).boundedTo(size));
    return reader.read();
}
