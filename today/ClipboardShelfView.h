#pragma once

#include "platform/DesktopAppearance.h"
#include "today/ClipboardShelf.h"

#include <QPointer>
#include <QUuid>
#include <QWidget>

#include <optional>

class QLabel;
class QLineEdit;
class QPushButton;
class ShelfList;
class ShelfQuestion;
class ShelfRowButton;
class ToggleSwitch;

/// The Clipboard tab: the switch for recording, the kept copies as rows, and what can be done with
/// them.
///
/// Rows are copied by click, Enter, or Alt+1 to Alt+9, dragged out, and removed with Delete;
/// typing filters them. Give it the keyboard when its tab is chosen. Escape is passed on to the
/// window unless there is something here to close.
class ClipboardShelfView : public QWidget {
    Q_OBJECT

public:
    /// `shelf` must outlive the view. Its `onChange` is left to the caller, who calls `reload`.
    explicit ClipboardShelfView(ClipboardShelf& shelf, QWidget* parent = nullptr);
    ~ClipboardShelfView() override;

    void setColors(const Palette& palette);
    /// Shows the shelf as it is. Also brings the ages up to date.
    void reload();
    [[nodiscard]] QSize sizeHint() const override;
    /// Where the tab's character may stand, 44 points square, in widget coordinates.
    [[nodiscard]] QRect characterPlace() const;

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void makeShortcuts();
    void layOut();
    void fillRows();
    void toggleHistory();
    void copyItem(int index);
    void removeItem(int index);
    void clearAll();
    void openMenu(int index, QPoint place);
    void beginDrag(const ShelfRowButton& row);
    void dragEnded(const ShelfItem& item, Qt::DropAction action);
    void setStatus(const QString& text);
    [[nodiscard]] QString usualStatus() const;
    [[nodiscard]] QString emptyText() const;
    void setFilter(const QString& text);
    [[nodiscard]] std::optional<ShelfItem> itemAt(int index) const;

    ClipboardShelf& m_shelf;
    Palette m_palette;
    ToggleSwitch* m_toggle = nullptr;
    QLabel* m_title = nullptr;
    QLabel* m_status = nullptr;
    QLineEdit* m_filter = nullptr;
    ShelfList* m_list = nullptr;
    QLabel* m_empty = nullptr;
    QLabel* m_hint = nullptr;
    QPushButton* m_clearButton = nullptr;
    ShelfQuestion* m_question = nullptr;
    std::optional<QUuid> m_draggedItemID;
    bool m_isDropTarget = false;
};
