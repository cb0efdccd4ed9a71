#include "today/ShelfViewLayout.h"

ShelfViewLayout shelfViewLayout(QSizeF size, QSizeF toggle, bool hasFilter,
                                const ShelfViewStyle& style)
{
    ShelfViewLayout places;
    const qreal width = size.width() - 2 * style.margin;
    places.header = {style.margin, style.gap, width, style.headerHeight};
    places.character = {places.header.right() - style.characterRight - style.characterSide,
                        places.header.center().y() - style.characterSide / 2, style.characterSide,
                        style.characterSide};
    const qreal top = places.header.top();
    const qreal left = style.margin + style.padding;
    places.toggle
        = {{left - style.switchInset, top + style.titleMiddle - toggle.height() / 2}, toggle};
    const qreal titleLeft = places.toggle.right() + style.switchGap;
    places.title = {titleLeft, top + style.titleMiddle - style.lineHeight / 2,
                    places.character.left() - titleLeft, style.lineHeight};
    places.status = {left, top + style.statusMiddle - style.lineHeight / 2,
                     places.character.left() - left, style.lineHeight};

    const qreal listTop = places.header.bottom() + 2 * style.gap;
    places.list = {style.margin, listTop, width, size.height() - style.gap - listTop};
    const QRectF inner
        = places.list.adjusted(style.listInset, style.listInset, -style.listInset, 0);
    places.footer = {left, places.list.bottom() - style.footerHeight, width - 2 * style.padding,
                     style.footerHeight};
    places.rows = inner;
    if (hasFilter) {
        places.filter = {inner.left(), inner.top(), inner.width(), style.filterHeight};
        places.rows.setTop(places.filter.bottom() + style.listInset);
    }
    places.rows.setBottom(places.footer.top());
    places.emptySymbol = {0, 0, style.emptySymbolSide, style.emptySymbolSide};
    places.emptySymbol.moveCenter(places.rows.center() - QPointF(0, style.emptySymbolAbove));
    places.empty = places.rows.adjusted(style.emptyInset, 0, -style.emptyInset, 0);
    return places;
}
