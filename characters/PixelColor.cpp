#include "characters/PixelColor.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr QRgb unreadableColor = 0xFFA97BFF;

/// The value of a digit, or nothing. Qt's own number readers would also take signs, spaces and
/// "0x".
std::optional<quint64> hexDigit(QChar letter)
{
    const char16_t code = letter.unicode();
    if (code >= u'0' && code <= u'9')
        return code - u'0';
    if (code >= u'a' && code <= u'f')
        return code - u'a' + 10;
    if (code >= u'A' && code <= u'F')
        return code - u'A' + 10;
    return std::nullopt;
}

int byteOf(float component)
{
    return std::clamp(int(std::lround(component * 255)), 0, 255);
}

} // namespace

std::optional<QColor> readableHex(QStringView text)
{
    if (text.startsWith(u'#'))
        text = text.sliced(1);
    if (text.isEmpty())
        return std::nullopt;
    quint64 number = 0;
    for (const QChar letter : text) {
        const std::optional<quint64> digit = hexDigit(letter);
        const bool isFull = number >> 60 != 0;
        if (!digit || isFull)
            return std::nullopt;
        number = number << 4 | *digit;
    }
    return QColor::fromRgb(QRgb(number)); // opaque, whatever the upper bits
}

QColor hex(QStringView text)
{
    return readableHex(text).value_or(QColor::fromRgb(unreadableColor));
}

QString hexString(const QColor& color)
{
    if (!color.isValid())
        return hexString(QColor::fromRgb(unreadableColor));
    return QString::asprintf("#%02X%02X%02X", byteOf(color.redF()), byteOf(color.greenF()),
                             byteOf(color.blueF()));
}
