#include "characters/CharacterGridLayout.h"

#include <algorithm>

namespace {

/// Fills rows of tiles from the left.
class RowFiller {
public:
    RowFiller(qreal width, const CharacterGridStyle& style)
        : m_style(style)
        , m_columns(std::max(
              1, int((width - 2 * style.edge + style.gap) / (style.tile.width() + style.gap))))
    {
        const qreal free = width - 2 * style.edge - m_columns * style.tile.width();
        m_pitch = style.tile.width() + (m_columns > 1 ? free / (m_columns - 1) : 0);
    }

    GridGroupPlace place(const GridGroup& group)
    {
        if (group.tiles == 0)
            return {};
        if (!fits(group))
            startRow();
        GridGroupPlace place;
        const int across = std::min(group.tiles, m_columns - m_column);
        const qreal right = x(m_column + std::max(across, 1) - 1) + m_style.tile.width();
        place.heading
            = QRectF(QPointF(x(m_column), m_top), QPointF(right, m_top + m_style.headingHeight));
        m_tileTop = m_top + m_style.headingHeight;
        for (int i = 0; i < group.tiles; ++i) {
            if (m_column == m_columns) {
                m_column = 0;
                m_tileTop += m_style.tile.height() + m_style.gap;
                m_isFull = true; // a group that wraps leaves no room for another heading
            }
            place.tiles.append({x(m_column++), m_tileTop});
        }
        m_bottom = m_tileTop + m_style.tile.height();
        return place;
    }

    [[nodiscard]] qreal bottom() const { return m_bottom; }

private:
    [[nodiscard]] qreal x(int column) const { return m_style.edge + column * m_pitch; }

    [[nodiscard]] bool fits(const GridGroup& group) const
    {
        const qreal room = (group.tiles - 1) * m_pitch + m_style.tile.width();
        return m_bottom > 0 && !m_isFull && m_column + group.tiles <= m_columns
            && group.headingWidth <= room;
    }

    void startRow()
    {
        m_top = m_bottom > 0 ? m_bottom + m_style.groupGap : m_style.edge;
        m_column = 0;
        m_isFull = false;
    }

    const CharacterGridStyle& m_style;
    int m_columns;
    qreal m_pitch = 0;
    int m_column = 0;
    qreal m_top = 0; // of the row's headings
    qreal m_tileTop = 0;
    qreal m_bottom = 0; // 0 before the first group
    bool m_isFull = false;
};

} // namespace

GridPlaces gridPlaces(const QList<GridGroup>& groups, qreal width, const CharacterGridStyle& style)
{
    RowFiller rows(width, style);
    GridPlaces places;
    for (const GridGroup& group : groups)
        places.groups.append(rows.place(group));
    places.height = rows.bottom() + style.edge;
    return places;
}
