#include "today/ShelfList.h"

#include "characters/Retire.h"
#include "platform/TextFonts.h"
#include "today/ClipboardShelf.h"
#include "today/ShelfRowButton.h"

#include <QScrollBar>

#include <algorithm>

namespace {

constexpr int pageRows = 8;
constexpr qsizetype searchedLength = 64 << 10; // of a text, so that typing stays light

bool matches(const ShelfItem& item, const QString& filter)
{
    const QString text = item.kind == ShelfItemKind::image ? item.title() : item.value;
    return QStringView(text).left(searchedLength).contains(filter, Qt::CaseInsensitive);
}

} // namespace

ShelfList::ShelfList(const ClipboardShelf& shelf, QWidget* parent)
    : QScrollArea(parent)
    , m_shelf(shelf)
    , m_list(new QWidget)
{
    setWidget(m_list);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    setAccessibleName(tr("Recent copies"));
    m_thumbnails.onReady = [this](const QUuid& id, const ShelfRowIcon& icon) {
        for (ShelfRowButton* row : m_rows) {
            if (row->row().id == id)
                row->setIcon(icon);
        }
    };
}

void ShelfList::setColors(const Palette& palette)
{
    m_palette = palette;
    for (ShelfRowButton* row : m_rows)
        row->setColors(palette);
}

void ShelfList::fill(const QString& filter)
{
    const qsizetype focused = focusedRow();
    m_thumbnails.keepOnly(m_shelf.items());
    std::size_t used = 0;
    for (int index = 0; index < m_shelf.items().size(); ++index) {
        const ShelfItem& item = m_shelf.items().at(index);
        if (!matches(item, filter))
            continue;
        if (used == m_rows.size())
            m_rows.push_back(makeRow());
        ShelfRowButton* row = m_rows[used++];
        row->tag = index;
        row->setRow(shelfRow(item));
    }
    const std::vector<ShelfRowButton*> unused(m_rows.begin() + std::ptrdiff_t(used), m_rows.end());
    m_rows.resize(used);
    placeRows();
    verticalScrollBar()->setValue(0);
    if (focused >= 0)
        focusRow(focused);
    else if (!m_rows.empty())
        m_rows.front()->setFocusPolicy(Qt::StrongFocus);
    for (ShelfRowButton* row : unused)
        retire(row);
}

ShelfRowButton* ShelfList::makeRow()
{
    auto* row = new ShelfRowButton(m_list);
    row->setColors(m_palette);
    connect(row, &QAbstractButton::clicked, this, [this, row] { onCopy(row->tag); });
    row->onDrag = [this, row] { onDrag(*row); };
    row->onRemove = [this, row] { onRemove(row->tag); };
    row->onMenu = [this, row](QPoint place) { onMenu(row->tag, place); };
    row->onKey = [this](QKeyEvent* event) { onKey(event); };
    row->onIconWanted = [this, row] { loadIcon(*row); };
    row->show();
    return row;
}

void ShelfList::placeRows()
{
    if (m_rows.empty())
        return;
    const int rowHeight = m_rows.front()->sizeHint().height();
    const bool scrolls = int(m_rows.size()) * rowHeight > height();
    const int rowWidth = width() - (scrolls ? verticalScrollBar()->sizeHint().width() : 0);
    int top = 0;
    for (ShelfRowButton* row : m_rows) {
        row->setGeometry(0, top, rowWidth, rowHeight);
        top += rowHeight;
    }
    m_list->resize(rowWidth, top);
}

void ShelfList::loadIcon(ShelfRowButton& row)
{
    if (row.tag >= m_shelf.items().size())
        return;
    const ShelfItem& item = m_shelf.items().at(row.tag);
    const int side = qRound(ShelfRowStyle().iconSide * textScale() * devicePixelRatioF());
    const ShelfRowIcon icon = m_thumbnails.icon(item, m_shelf.imageFile(item), QSize(side, side));
    if (!icon.isEmpty())
        row.setIcon(icon);
}

int ShelfList::tagAt(qsizetype row) const
{
    return row < 0 || std::size_t(row) >= m_rows.size() ? -1 : m_rows[std::size_t(row)]->tag;
}

qsizetype ShelfList::focusedRow() const
{
    const auto found = std::ranges::find_if(m_rows, &QWidget::hasFocus);
    return found == m_rows.end() ? -1 : found - m_rows.begin();
}

/// Gives `row`, or the last one before it, the keyboard; Tab reaches the list there from now on.
void ShelfList::focusRow(qsizetype row)
{
    if (m_rows.empty()) {
        parentWidget()->setFocus();
        return;
    }
    for (ShelfRowButton* other : m_rows)
        other->setFocusPolicy(Qt::ClickFocus);
    const auto last = qsizetype(m_rows.size()) - 1;
    ShelfRowButton* chosen = m_rows[std::size_t(std::clamp<qsizetype>(row, 0, last))];
    chosen->setFocusPolicy(Qt::StrongFocus);
    chosen->setFocus();
    ensureWidgetVisible(chosen, 0, 0);
}

bool ShelfList::moveFocus(int key)
{
    const qsizetype now = focusedRow();
    switch (key) {
    case Qt::Key_Up:
        focusRow(now - 1);
        return true;
    case Qt::Key_Down:
        focusRow(now + 1);
        return true;
    case Qt::Key_PageUp:
        focusRow(now - pageRows);
        return true;
    case Qt::Key_PageDown:
        focusRow(now + pageRows);
        return true;
    case Qt::Key_Home:
        focusRow(0);
        return true;
    case Qt::Key_End:
        focusRow(qsizetype(m_rows.size()));
        return true;
    default:
        return false;
    }
}

void ShelfList::resizeEvent(QResizeEvent* event)
{
    QScrollArea::resizeEvent(event);
    placeRows();
}
