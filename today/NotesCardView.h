#pragma once

#include "platform/DesktopAppearance.h"
#include "today/CardCharacter.h"
#include "today/NotesCard.h"
#include "today/NotesStore.h"

#include <QTimer>
#include <QWidget>

#include <chrono>

class FlatButton;
class NoteRow;
class NotesInputField;

/// The Notes card: the user's tasks, a field to add more, and a small character.
///
/// Tab goes through the field, one row with its button, and the buttons of the head; arrows go from
/// row to row. Space ticks, F2 edits, Delete removes, Alt with an arrow moves the task, and Ctrl+Z
/// brings back what was removed as long as "Undo" is offered.
class NotesCardView : public QWidget {
    Q_OBJECT

public:
    static constexpr QLatin1StringView defaultCharacter{"clip"};

    /// Takes `store.onChange` for itself; `store` must outlive the view. "Undo" is offered for the
    /// time `undoFor`.
    explicit NotesCardView(NotesStore& store,
                           std::chrono::milliseconds undoFor = std::chrono::seconds(8),
                           QWidget* parent = nullptr);
    ~NotesCardView() override;

    void setColors(const Palette& palette);
    /// The theme must outlive the view, or its place be taken by another call. To be called again
    /// when the theme at that place has changed.
    void setTheme(const PixelTheme* theme);
    void setCharacter(const QString& id);
    /// Whether the character plays its lively loop.
    void setLively(bool isLively);
    /// The character's clock in seconds. Only the character's place is painted again, and only when
    /// its picture has changed.
    void setAnimationTime(double seconds);

    /// Brings the rows up to date with the store. Called by the store's `onChange`.
    void rebuild();

    using QWidget::height;
    /// The card's height with `itemCount` tasks, in points at the usual text size.
    [[nodiscard]] static qreal height(qsizetype itemCount) { return notesCardHeight(itemCount); }
    [[nodiscard]] qreal preferredHeight() const { return height(m_store.items().size()); }
    [[nodiscard]] QSize sizeHint() const override;

    /// Called when the height has changed.
    std::function<void()> onResized;

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void addItem();
    void removeItem(QUuid id);
    void moveItem(qsizetype from, qsizetype to);
    void clearDone();
    void offerUndo(const QList<PlacedNote>& removed);
    void undo();

    NoteRow* makeRow();
    void connectRow(NoteRow* row);
    /// Where the row with the keyboard stands; -1 when none has it.
    [[nodiscard]] qsizetype focusedPlace() const;
    void focusRow(qsizetype place, Qt::FocusReason reason = Qt::OtherFocusReason);
    bool handleRowKey(int key, qsizetype place);
    void setTabStop(NoteRow* row);
    void updateTabOrder();
    void updateControls();
    void showButton(FlatButton* button, bool isShown);
    void layOut();
    void updateCharacter();
    [[nodiscard]] QRect characterRect() const;

    NotesStore& m_store;
    NotesInputField* m_input;
    FlatButton* m_clear;
    FlatButton* m_undo;
    QList<NoteRow*> m_rows;
    NoteRow* m_tabStop = nullptr; // among m_rows
    QList<QList<PlacedNote>> m_removed; // the latest last
    QTimer m_undoTimer;
    NotesCardTexts m_texts;
    NotesCardLayout m_layout;
    Palette m_palette;

    CardCharacter m_character{QStringLiteral("notes"), defaultCharacter};
    double m_animationTime = 0;
};
