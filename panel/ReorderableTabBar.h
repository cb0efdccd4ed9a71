#pragma once

#include "platform/DesktopAppearance.h"

#include <QStringList>
#include <QWidget>

#include <functional>
#include <optional>

class PreferenceStore;

/// The tabs at the top of the panel. A click or the left and right arrow keys select one; dragging
/// one sideways moves it, and the new order is stored at once.
class ReorderableTabBar : public QWidget {
    Q_OBJECT

public:
    /// `preferences` must outlive the bar.
    explicit ReorderableTabBar(PreferenceStore& preferences, QWidget* parent = nullptr);

    [[nodiscard]] static QString defaultUsageName();
    /// The user's name for the usage tab, or the default one.
    [[nodiscard]] QString usageName() const { return m_usageName; }
    /// Reads the user's name for the usage tab again.
    void reloadName();

    /// Ids from left to right: "usage", "system" and "clipboard" in the user's order.
    [[nodiscard]] const QStringList& order() const { return m_order; }
    [[nodiscard]] const QString& selectedID() const { return m_selectedID; }
    /// What the tab `id` is called.
    [[nodiscard]] QString title(const QString& id) const;

    /// Selects a tab and calls `onSelect`, also when it was selected before. An `id` that is not
    /// in the order changes nothing.
    void select(const QString& id);
    /// The same by place, 0 being the leftmost. A place beyond the last changes nothing.
    void selectAt(qsizetype index) { select(m_order.value(index)); }
    /// Selects the tab `steps` to the right of the selected one, round and round; negative: left.
    void selectNext(qsizetype steps = 1);
    /// Moves the selected tab by `steps`, at most to the end, and stores the order.
    void moveSelected(qsizetype steps);

    /// The tab at `point` in widget coordinates; absent outside the bar.
    [[nodiscard]] std::optional<qsizetype> indexAt(QPointF point) const;
    void setColors(const Palette& palette);
    [[nodiscard]] QSize sizeHint() const override;

    /// Called with the id of the tab that was selected.
    std::function<void(const QString& id)> onSelect;

protected:
    bool event(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void describe();
    void move(qsizetype from, qsizetype to);
    [[nodiscard]] QString toolTipAt(QPoint point) const;
    void updateSize();

    PreferenceStore& m_preferences;
    QStringList m_order;
    QString m_selectedID;
    QString m_usageName;
    std::optional<qsizetype> m_pressedIndex;
    bool m_didReorder = false; // since the mouse was pressed
    bool m_showsFocus = false; // the keyboard is in use
    Palette m_palette;
};
