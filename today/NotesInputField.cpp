#include "today/NotesInputField.h"

#include "platform/Characters.h"
#include "today/NotesStore.h"

#include <QPainter>
#include <QValidator>

namespace {

constexpr qreal radius = 6;
constexpr qreal focusWidth = 1.5;
constexpr int sideMargin = 4; // besides the two pixels that every field has

/// Cuts what is typed to what a task may have. A field asks before it lays its text out, which
/// would take its time with a book that was pasted.
class TaskText : public QValidator {
public:
    using QValidator::QValidator;

    State validate(QString& text, int& cursor) const override
    {
        text = firstCharacters(oneLine(text), NotesStore::textLimit);
        cursor = std::min(cursor, int(text.size()));
        return Acceptable;
    }
};

} // namespace

NotesInputField::NotesInputField(QWidget* parent)
    : QLineEdit(parent)
{
    setTextMargins(sideMargin, 0, sideMargin, 0);
    setMaxLength(NotesStore::unitLimit);
    setValidator(new TaskText(this));
}

void NotesInputField::setColors(const Palette& palette)
{
    m_palette = palette;
    // Every style has grounds and frames of its own; and a style sheet further up would take
    // colours back that were set on the widget.
    setStyleSheet(QStringLiteral("QLineEdit { background: transparent; border: none; color: %1;"
                                 " selection-background-color: %2; selection-color: %3; }")
                      .arg(palette.label.name(), palette.accent.name(), palette.accentText.name()));
}

void NotesInputField::mousePressEvent(QMouseEvent* event)
{
    // The panel may have come up without the keyboard.
    if (!isActiveWindow())
        activateWindow();
    QLineEdit::mousePressEvent(event);
}

void NotesInputField::paintEvent(QPaintEvent* event)
{
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const qreal width = hasFocus() ? focusWidth : 1;
        painter.setPen(QPen(hasFocus() ? m_palette.accent : m_palette.separator, width));
        painter.setBrush(m_palette.windowBackground);
        const qreal inset = width / 2;
        painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), radius,
                                radius);
    }
    QLineEdit::paintEvent(event);
}
