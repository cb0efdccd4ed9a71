#pragma once

#include "platform/DesktopAppearance.h"
#include "today/NotesStore.h"

#include <QCheckBox>

#include <functional>

class QPushButton;

/// One task of the Notes card: a checkbox with the task's text, a button that removes it, and a
/// field in the text's place while it is edited.
///
/// A click ticks, a double click on the text edits. Changes nothing by itself: it asks through its
/// callbacks, and shows what `setItem` says. Keys are left to the card, but for Space.
class NoteRow : public QCheckBox {
    Q_OBJECT

public:
    explicit NoteRow(QWidget* parent);

    void setItem(const NoteItem& item);
    [[nodiscard]] const NoteItem& item() const { return m_item; }
    void setColors(const Palette& palette);
    /// Whether the Tab key stops here. One row of the list should have it; the rest is for arrows.
    void setTabStop(bool isTabStop);
    /// Shows a field with the text. Enter and turning elsewhere keep what was typed.
    void startEditing();
    /// Scrolls the areas that the row stands in until it shows.
    void bringIntoView();
    /// Whether the keyboard came here otherwise than by a click.
    [[nodiscard]] bool showsFocus() const { return m_showsFocus; }
    [[nodiscard]] QPushButton* removeButton() const { return m_remove; }

    std::function<void()> onFocus; // by whatever way
    std::function<void()> onToggle;
    std::function<void()> onRemove;
    std::function<void(const QString& text)> onEdit;

protected:
    bool event(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    bool hitButton(const QPoint& position) const override { return rect().contains(position); }
    void keyPressEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    class Editor;
    class RemoveButton;

    void finishEditing(bool keepsText);
    void layOut();
    [[nodiscard]] bool isMarked() const;

    NoteItem m_item;
    Palette m_palette;
    QPushButton* m_remove;
    Editor* m_editor = nullptr;
    bool m_wasClicked = false; // since the pointer came
    bool m_showsFocus = false;
};
