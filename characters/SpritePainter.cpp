#include "characters/SpritePainter.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

/// Where the painter's units fall on the device.
class DeviceGrid {
public:
    explicit DeviceGrid(const QPainter& painter)
        : m_transform(painter.deviceTransform())
    {
    }

    [[nodiscard]] QRect rounded(const QRectF& rect) const
    {
        const QRectF device = m_transform.mapRect(rect);
        const int left = edge(device.left());
        const int top = edge(device.top());
        return {left, top, edge(device.right()) - left, edge(device.bottom()) - top};
    }

    /// Makes one unit of the painter one device pixel.
    void apply(QPainter& painter) const
    {
        painter.setWorldTransform(m_transform.inverted() * painter.worldTransform());
    }

private:
    static int edge(qreal value)
    {
        constexpr qreal blur = 1e-6; // arithmetic may put a half just below itself
        return int(std::floor(value + 0.5 + blur));
    }

    QTransform m_transform;
};

/// Calls `visit(row, column, length, letter)` for every stretch of one letter within a row.
template<typename Visit> void forEachRun(const PixelFrame& rows, Visit visit)
{
    for (qsizetype row = 0; row < rows.size(); ++row) {
        const QString& letters = rows[row];
        for (qsizetype start = 0; start < letters.size();) {
            const auto end = std::find_if(letters.cbegin() + start, letters.cend(),
                                          [first = letters[start]](QChar c) { return c != first; });
            const qsizetype length = end - letters.cbegin() - start;
            visit(row, start, length, letters[start]);
            start += length;
        }
    }
}

} // namespace

void drawPixelRows(QPainter& painter, const PixelFrame& rows, QPointF topLeft, qreal pixelSize,
                   const QColor& main, const PixelPalette& palette)
{
    const DeviceGrid grid(painter);
    painter.save();
    grid.apply(painter);
    forEachRun(rows, [&](qsizetype row, qsizetype column, qsizetype length, QChar letter) {
        const QRectF place(topLeft + QPointF(qreal(column), qreal(row)) * pixelSize,
                           QSizeF(qreal(length), 1) * pixelSize);
        if (const std::optional<QColor> color = letterColor(letter, main, palette))
            painter.fillRect(grid.rounded(place), *color);
    });
    painter.restore();
}
