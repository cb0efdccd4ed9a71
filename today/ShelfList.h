#pragma once

#include "platform/DesktopAppearance.h"
#include "today/ShelfThumbnails.h"

#include <QScrollArea>

#include <functional>
#include <vector>

class ClipboardShelf;
class QKeyEvent;
class ShelfRowButton;

/// The scrolling rows of the shelf. Tab reaches one row, the arrow keys the others.
class ShelfList final : public QScrollArea {
    Q_OBJECT

public:
    /// `shelf` must outlive the list.
    ShelfList(const ClipboardShelf& shelf, QWidget* parent);

    void setColors(const Palette& palette);
    /// Shows the items that hold `filter`, from the top. A row that has the keyboard hands it to
    /// the one that takes its place.
    void fill(const QString& filter);
    [[nodiscard]] bool isEmpty() const { return m_rows.empty(); }
    /// The index of the item that `row` shows, counted from the first row shown; -1 for none.
    [[nodiscard]] int tagAt(qsizetype row) const;
    /// Which row has the keyboard; -1 for none.
    [[nodiscard]] qsizetype focusedRow() const;
    /// Gives the keyboard to the row that `key` leads to. False for a key that leads nowhere.
    bool moveFocus(int key);

    // What the user wants of the item with an index.
    std::function<void(int tag)> onCopy;
    std::function<void(int tag)> onRemove;
    std::function<void(int tag, QPoint place)> onMenu; // in global coordinates
    std::function<void(const ShelfRowButton& row)> onDrag;
    std::function<void(QKeyEvent* event)> onKey; // pressed in a row and not used up there

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    ShelfRowButton* makeRow();
    void placeRows();
    void focusRow(qsizetype row);
    void loadIcon(ShelfRowButton& row);

    const ClipboardShelf& m_shelf;
    Palette m_palette;
    QWidget* m_list = nullptr;
    ShelfThumbnails m_thumbnails;
    std::vector<ShelfRowButton*> m_rows;
};
