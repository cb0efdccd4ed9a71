#pragma once

#include "platform/DesktopAppearance.h"
#include "today/ShelfRow.h"

#include <QAbstractButton>

#include <functional>

/// One row of the shelf. A click copies; pulling it away starts a drag; the cross that it shows
/// while it is pointed at removes.
class ShelfRowButton final : public QAbstractButton {
    Q_OBJECT

public:
    explicit ShelfRowButton(QWidget* parent);

    /// Shows `row`. The icon stays when the row is about the same item as before.
    void setRow(const ShelfRow& row);
    [[nodiscard]] const ShelfRow& row() const { return m_row; }
    void setIcon(const ShelfRowIcon& icon);
    /// The icon alone, to be dragged along.
    [[nodiscard]] QPixmap iconPicture() const;
    void setColors(const Palette& palette);
    [[nodiscard]] QSize sizeHint() const override;

    /// Which item of the shelf it shows, as an index.
    int tag = -1;

    std::function<void()> onDrag;
    std::function<void()> onRemove;
    std::function<void(QPoint place)> onMenu; // in global coordinates
    std::function<void(QKeyEvent* event)> onKey; // what the row itself has no use for
    std::function<void()> onIconWanted; // once it is seen without one

protected:
    bool event(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] ShelfRowLayout layout() const;
    [[nodiscard]] bool isOnCross(QPointF place) const;

    ShelfRow m_row;
    ShelfRowIcon m_icon;
    Palette m_palette;
    QPointF m_pressedAt;
    bool m_isRemoving = false; // the cross was pressed
    bool m_hasAskedForIcon = false;
};
