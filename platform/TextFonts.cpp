#include "platform/TextFonts.h"

#include <QFontDatabase>
#include <QFontInfo>

#include <algorithm>
#include <cmath>

namespace {

constexpr double usualTextPixels = 13; // ten points at 96 dots per inch

QFont sized(QFont font, double size, QFont::Weight weight)
{
    font.setPixelSize(int(std::lround(std::max(size, smallestText))));
    font.setWeight(weight);
    return font;
}

} // namespace

QFont fixedFont(double size, QFont::Weight weight)
{
    return sized(QFontDatabase::systemFont(QFontDatabase::FixedFont), size, weight);
}

QFont textFont(double size, QFont::Weight weight)
{
    return sized(QFontDatabase::systemFont(QFontDatabase::GeneralFont), size, weight);
}

double textScale()
{
    const QFontInfo info(QFontDatabase::systemFont(QFontDatabase::GeneralFont));
    return std::max(1.0, info.pixelSize() / usualTextPixels);
}
