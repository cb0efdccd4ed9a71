#include "today/NoteRow.h"

#include "platform/TextFonts.h"
#include "today/NoteRowDrawing.h"
#include "today/NotesInputField.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPushButton>
#include <QScrollArea>
#include <QToolTip>

using namespace Qt::StringLiterals;

namespace {

QRect scaled(const QRectF& points)
{
    const double scale = textScale();
    return QRectF(points.topLeft() * scale, points.size() * scale).toRect();
}

} // namespace

/// The field in which a task's text is edited.
class NoteRow::Editor : public NotesInputField {
public:
    explicit Editor(NoteRow* row)
        : NotesInputField(row)
        , m_row(row)
    {
    }

protected:
    bool event(QEvent* event) override
    {
        // Or Escape would close the panel where that is a shortcut.
        if (event->type() == QEvent::ShortcutOverride
            && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape)
            event->accept();
        return NotesInputField::event(event);
    }

    void keyPressEvent(QKeyEvent* event) override
    {
        const int key = event->key();
        if (key == Qt::Key_Escape)
            m_row->finishEditing(false);
        else if (key == Qt::Key_Return || key == Qt::Key_Enter)
            m_row->finishEditing(true);
        else
            NotesInputField::keyPressEvent(event);
        event->accept(); // nothing is for the row below
    }

    void focusOutEvent(QFocusEvent* event) override
    {
        NotesInputField::focusOutEvent(event);
        if (event->reason() != Qt::PopupFocusReason) // its own menu
            m_row->finishEditing(true);
    }

private:
    NoteRow* m_row;
};

/// A cross, which shows while its row is hovered or has the keyboard.
class NoteRow::RemoveButton : public QPushButton {
public:
    explicit RemoveButton(NoteRow* row)
        : QPushButton(row)
        , m_row(row)
    {
        setAttribute(Qt::WA_Hover);
    }

protected:
    // The second click would hit the task that has moved up.
    void mouseDoubleClickEvent(QMouseEvent* event) override { event->accept(); }

    void focusInEvent(QFocusEvent* event) override
    {
        QPushButton::focusInEvent(event);
        m_row->bringIntoView();
        m_row->update();
    }

    void focusOutEvent(QFocusEvent* event) override
    {
        QPushButton::focusOutEvent(event);
        m_row->update();
    }

    void paintEvent(QPaintEvent*) override
    {
        if (!m_row->isMarked())
            return;
        QPainter painter(this);
        const double scale = textScale();
        painter.scale(scale, scale);
        const QRectF place(0, 0, width() / scale, height() / scale);
        drawRemove(painter, place, hasFocus(), hasFocus() || underMouse(), m_row->m_palette);
    }

private:
    NoteRow* m_row;
};

NoteRow::NoteRow(QWidget* parent)
    : QCheckBox(parent)
    , m_remove(new RemoveButton(this))
{
    setAttribute(Qt::WA_Hover);
    m_remove->setAccessibleName(tr("Remove"));
    m_remove->setToolTip(tr("Remove"));
    setTabStop(false);
    connect(this, &QCheckBox::clicked, this, [this] {
        m_wasClicked = true;
        onToggle();
    });
    connect(m_remove, &QPushButton::clicked, this, [this] { onRemove(); });
}

void NoteRow::setItem(const NoteItem& item)
{
    m_item = item;
    setChecked(item.done);
    // As the name, not the label: there, "&" would make a shortcut.
    setAccessibleName(item.text);
    setObjectName(item.id.toString(QUuid::WithoutBraces).toUpper());
    m_remove->setAccessibleDescription(item.text);
    update();
}

void NoteRow::setColors(const Palette& palette)
{
    m_palette = palette;
    if (m_editor)
        m_editor->setColors(palette);
    update();
}

void NoteRow::setTabStop(bool isTabStop)
{
    setFocusPolicy(isTabStop ? Qt::StrongFocus : Qt::ClickFocus);
    m_remove->setFocusPolicy(isTabStop ? Qt::TabFocus : Qt::NoFocus);
}

void NoteRow::startEditing()
{
    if (m_editor)
        return;
    m_editor = new Editor(this);
    m_editor->setAccessibleName(tr("Task"));
    m_editor->setColors(m_palette);
    m_editor->setText(m_item.text);
    m_editor->selectAll();
    layOut();
    m_editor->show();
    m_editor->setFocus(Qt::OtherFocusReason);
    update();
}

void NoteRow::bringIntoView()
{
    for (QWidget* above = parentWidget(); above; above = above->parentWidget()) {
        if (auto* area = qobject_cast<QScrollArea*>(above))
            area->ensureWidgetVisible(this, 0, height());
    }
}

void NoteRow::finishEditing(bool keepsText)
{
    // Hiding the field takes the keyboard from it, which comes here again.
    Editor* editor = std::exchange(m_editor, nullptr);
    if (!editor)
        return;
    const QString text = editor->text();
    if (editor->hasFocus())
        setFocus(Qt::OtherFocusReason);
    editor->hide();
    editor->deleteLater();
    update();
    if (keepsText && text != m_item.text)
        onEdit(text);
}

void NoteRow::layOut()
{
    const RowLayout layout = rowLayout(width() / textScale());
    m_remove->setGeometry(scaled(layout.remove));
    if (m_editor) {
        m_editor->setFont(textFont(RowStyle().textSize * textScale()));
        m_editor->setGeometry(scaled(layout.editor));
    }
}

bool NoteRow::isMarked() const
{
    return underMouse() || hasFocus() || m_remove->hasFocus();
}

bool NoteRow::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QCheckBox::event(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    if (!fitsRow(m_item.text, rowLayout(width() / textScale())))
        QToolTip::showText(help->globalPos(), Qt::convertFromPlainText(m_item.text), this);
    return true;
}

void NoteRow::focusInEvent(QFocusEvent* event)
{
    const Qt::FocusReason reason = event->reason();
    const bool comesBack = reason == Qt::ActiveWindowFocusReason || reason == Qt::PopupFocusReason;
    if (!comesBack)
        m_showsFocus = reason != Qt::MouseFocusReason; // whoever clicks knows where they are
    QCheckBox::focusInEvent(event);
    if (m_showsFocus && !comesBack)
        bringIntoView();
    onFocus();
    update();
}

void NoteRow::keyPressEvent(QKeyEvent* event)
{
    // The usual button sees in arrows a way to its neighbours.
    if (event->key() == Qt::Key_Space)
        QCheckBox::keyPressEvent(event);
    else
        event->ignore();
}

void NoteRow::leaveEvent(QEvent* event)
{
    m_wasClicked = false;
    QCheckBox::leaveEvent(event);
}

void NoteRow::mouseDoubleClickEvent(QMouseEvent* event)
{
    const bool isOnText = event->position().x() >= scaled(rowLayout(0).box).right() + 1;
    if (!isOnText || event->button() != Qt::LeftButton) {
        QCheckBox::mouseDoubleClickEvent(event);
        return;
    }
    if (std::exchange(m_wasClicked, false)) // the first click has ticked the task
        onToggle();
    startEditing();
}

void NoteRow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const double scale = textScale();
    painter.scale(scale, scale);
    const RowLook look{
        .isHovered = underMouse(),
        .hasRing = hasFocus() && m_showsFocus,
        .hasText = m_editor == nullptr,
    };
    drawRow(painter, m_item, look, rowLayout(width() / scale), m_palette);
}

void NoteRow::resizeEvent(QResizeEvent* event)
{
    QCheckBox::resizeEvent(event);
    layOut();
}
