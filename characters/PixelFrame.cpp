#include "characters/PixelFrame.h"

std::optional<QColor> letterColor(QChar letter, const QColor& main, const PixelPalette& palette)
{
    if (letter == u'.')
        return std::nullopt;
    if (const auto entry = palette.constFind(letter); entry != palette.cend())
        return *entry;
    if (letter == u'W')
        return QColor(Qt::white);
    return letter == u'D' ? QColor(Qt::black) : main;
}

QSize gridSize(const PixelFrame& frame)
{
    const qsizetype columns = frame.isEmpty() ? 1 : frame.first().size();
    return QSize(int(columns), int(frame.size())).expandedTo({1, 1});
}
