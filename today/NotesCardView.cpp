#include "today/NotesCardView.h"

#include "characters/Retire.h"
#include "platform/TextFonts.h"
#include "today/FlatButton.h"
#include "today/NoteRow.h"
#include "today/NotesInputField.h"

#include <QKeyEvent>
#include <QPainter>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

QRect scaled(const QRectF& points)
{
    const double scale = textScale();
    return QRectF(points.topLeft() * scale, points.size() * scale).toRect();
}

} // namespace

NotesCardView::NotesCardView(NotesStore& store, std::chrono::milliseconds undoFor, QWidget* parent)
    : QWidget(parent)
    , m_store(store)
    , m_input(new NotesInputField(this))
    , m_clear(new FlatButton(tr("Clear done"), this))
    , m_undo(new FlatButton(tr("Undo"), this))
{
    setAccessibleName(tr("Notes"));
    m_input->setAccessibleName(tr("New task"));
    connect(m_input, &QLineEdit::returnPressed, this, &NotesCardView::addItem);
    connect(m_clear, &QPushButton::clicked, this, &NotesCardView::clearDone);
    connect(m_undo, &QPushButton::clicked, this, &NotesCardView::undo);
    m_undoTimer.setSingleShot(true);
    m_undoTimer.setInterval(undoFor);
    connect(&m_undoTimer, &QTimer::timeout, this, [this] {
        m_removed.clear();
        updateControls();
    });
    m_store.onChange = [this] { rebuild(); };
    rebuild();
}

NotesCardView::~NotesCardView()
{
    m_store.onChange = nullptr;
}

void NotesCardView::setColors(const Palette& palette)
{
    m_palette = palette;
    m_input->setColors(palette);
    m_clear->setLook(palette, false);
    m_undo->setLook(palette, true);
    for (NoteRow* row : m_rows)
        row->setColors(palette);
    update();
}

void NotesCardView::addItem()
{
    if (m_store.add(m_input->text()))
        m_input->clear();
}

void NotesCardView::removeItem(QUuid id)
{
    offerUndo(m_store.remove(id));
}

void NotesCardView::moveItem(qsizetype from, qsizetype to)
{
    NoteRow* row = m_rows[from];
    m_store.move(row->item().id, to);
    row->bringIntoView();
}

void NotesCardView::clearDone()
{
    const bool hadFocus = m_clear->hasFocus();
    offerUndo(m_store.clearDone());
    if (hadFocus && !m_removed.isEmpty())
        m_undo->setFocus(Qt::OtherFocusReason);
}

void NotesCardView::offerUndo(const QList<PlacedNote>& removed)
{
    if (removed.isEmpty())
        return;
    m_removed.append(removed);
    m_undoTimer.start();
    updateControls();
}

void NotesCardView::undo()
{
    if (m_removed.isEmpty())
        return;
    const bool hadFocus = m_undo->hasFocus();
    const QList<PlacedNote> removed = m_removed.takeLast();
    if (m_removed.isEmpty())
        m_undoTimer.stop();
    else
        m_undoTimer.start();
    m_store.restore(removed);
    updateControls();
    if (hadFocus && m_removed.isEmpty())
        focusRow(removed.first().place);
}

NoteRow* NotesCardView::makeRow()
{
    auto* row = new NoteRow(this);
    row->setColors(m_palette);
    connectRow(row);
    row->show();
    return row;
}

void NotesCardView::connectRow(NoteRow* row)
{
    row->onFocus = [this, row] { setTabStop(row); };
    row->onToggle = [this, row] { m_store.toggle(row->item().id); };
    row->onRemove = [this, row] { removeItem(row->item().id); };
    row->onEdit = [this, row](const QString& text) { m_store.edit(row->item().id, text); };
}

void NotesCardView::rebuild()
{
    const qsizetype focused = focusedPlace();
    const bool showsFocus = focused >= 0 && m_rows[focused]->showsFocus();
    const qsizetype tabStop = std::max<qsizetype>(0, m_rows.indexOf(m_tabStop));
    // A row stays with its task, and so do the keyboard and a field that is open in it.
    QMultiHash<QUuid, NoteRow*> old;
    for (NoteRow* row : std::as_const(m_rows))
        old.insert(row->item().id, row);
    m_rows.clear();
    for (const NoteItem& item : m_store.items()) {
        NoteRow* row = old.take(item.id);
        m_rows.append(row ? row : makeRow());
        m_rows.last()->setItem(item);
    }
    if (!m_rows.contains(m_tabStop))
        setTabStop(m_rows.value(std::min(tabStop, m_rows.size() - 1)));
    updateTabOrder();
    updateControls();
    if (focused >= 0 && focusedPlace() < 0)
        focusRow(focused, showsFocus ? Qt::OtherFocusReason : Qt::MouseFocusReason);
    for (NoteRow* row : std::as_const(old))
        retire(row);
}

qsizetype NotesCardView::focusedPlace() const
{
    for (qsizetype i = 0; i < m_rows.size(); ++i) {
        const QWidget* focused = m_rows[i]->focusWidget();
        if (m_rows[i]->hasFocus() || (focused && focused->hasFocus()))
            return i;
    }
    return -1;
}

void NotesCardView::focusRow(qsizetype place, Qt::FocusReason reason)
{
    if (m_rows.isEmpty() || place < 0)
        m_input->setFocus(reason);
    else
        m_rows[std::min(place, m_rows.size() - 1)]->setFocus(reason);
}

void NotesCardView::setTabStop(NoteRow* row)
{
    if (m_rows.contains(m_tabStop))
        m_tabStop->setTabStop(false);
    m_tabStop = row;
    if (row)
        row->setTabStop(true);
}

void NotesCardView::updateTabOrder()
{
    QWidget* last = m_input;
    const auto append = [&last](QWidget* next) {
        setTabOrder(last, next);
        last = next;
    };
    for (NoteRow* row : std::as_const(m_rows)) {
        append(row);
        append(row->removeButton());
    }
    append(m_undo);
    append(m_clear);
}

void NotesCardView::updateControls()
{
    const qsizetype count = m_store.items().size();
    const qsizetype remaining = m_store.remaining();
    m_texts = {};
    if (count == 0)
        m_texts.empty = tr("Nothing yet. Notes stay on this Mac.");
    else
        m_texts.count = remaining == 0 ? tr("All done") : tr("%1 left").arg(remaining);
    if (!m_removed.isEmpty())
        m_texts.removed = tr("%n tasks removed", nullptr, int(m_removed.last().size()));

    const bool isFull = count >= NotesStore::itemLimit;
    if (isFull && m_input->hasFocus())
        focusRow(count - 1);
    m_input->setEnabled(!isFull);
    m_input->setPlaceholderText(isFull ? tr("The list is full")
                                       : tr("Add a task, then press Return"));
    m_input->setAccessibleDescription(count == 0 ? m_texts.empty : m_texts.count);
    m_undo->setAccessibleDescription(m_texts.removed);
    showButton(m_undo, !m_removed.isEmpty());
    showButton(m_clear, remaining < count);
    layOut();
}

void NotesCardView::showButton(FlatButton* button, bool isShown)
{
    if (!isShown && button->hasFocus())
        focusRow(m_rows.indexOf(m_tabStop));
    button->setVisible(isShown);
}

void NotesCardView::layOut()
{
    const NotesCardStyle style;
    m_layout = notesCardLayout(m_store.items().size(), m_texts, m_undo->text(), m_clear->text());
    m_input->setFont(textFont(style.inputTextSize * textScale()));
    m_input->setGeometry(scaled(m_layout.input));
    m_clear->setGeometry(scaled(m_layout.clear));
    m_undo->setGeometry(scaled(m_layout.undo));
    for (qsizetype i = 0; i < m_rows.size(); ++i)
        m_rows[i]->setGeometry(scaled(m_layout.row(i)));
    update();
    const int height = sizeHint().height();
    if (minimumHeight() == height)
        return;
    setFixedHeight(height);
    updateGeometry();
    if (onResized)
        onResized();
}

QSize NotesCardView::sizeHint() const
{
    const double scale = textScale();
    return {int(std::ceil(NotesCardStyle().width * scale)),
            int(std::ceil(preferredHeight() * scale))};
}

bool NotesCardView::event(QEvent* event)
{
    // Another font of the desktop's changes every measure.
    if (event->type() == QEvent::ApplicationFontChange || event->type() == QEvent::FontChange) {
        layOut();
        updateCharacter();
    }
    return QWidget::event(event);
}

void NotesCardView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_store.reload();
}

void NotesCardView::keyPressEvent(QKeyEvent* event)
{
    const qsizetype place = focusedPlace();
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const int step = event->key() == Qt::Key_Up ? -1 : event->key() == Qt::Key_Down ? 1 : 0;
    if (event->matches(QKeySequence::Undo))
        undo();
    else if (modifiers == Qt::AltModifier && step != 0 && place >= 0)
        moveItem(place, place + step);
    else if (modifiers != Qt::NoModifier || !handleRowKey(event->key(), place))
        QWidget::keyPressEvent(event);
}

bool NotesCardView::handleRowKey(int key, qsizetype place)
{
    switch (key) {
    case Qt::Key_Up:
        focusRow(place - 1);
        return true;
    case Qt::Key_Down:
        focusRow(place + 1);
        return true;
    case Qt::Key_Home:
        focusRow(0);
        return true;
    case Qt::Key_End:
        focusRow(m_rows.size() - 1);
        return true;
    case Qt::Key_F2:
        if (place >= 0)
            m_rows[place]->startEditing();
        return place >= 0;
    case Qt::Key_Delete:
        if (place >= 0)
            removeItem(m_rows[place]->item().id);
        return place >= 0;
    default:
        return false;
    }
}

void NotesCardView::setTheme(const PixelTheme* theme)
{
    m_character.setTheme(theme);
    updateCharacter();
}

void NotesCardView::setCharacter(const QString& id)
{
    m_character.setId(id);
    updateCharacter();
}

void NotesCardView::setLively(bool isLively)
{
    m_character.setLively(isLively);
    updateCharacter();
}

void NotesCardView::setAnimationTime(double seconds)
{
    m_animationTime = seconds;
    updateCharacter();
}

void NotesCardView::updateCharacter()
{
    const qreal side = NotesCardStyle().characterSide * textScale();
    if (m_character.draw(m_animationTime, side, devicePixelRatioF()))
        update(characterRect());
}

QRect NotesCardView::characterRect() const
{
    return scaled(m_layout.character);
}

void NotesCardView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    if (characterRect().contains(event->rect())) {
        // One more frame of the character: there is nothing but the card's ground around it.
        painter.fillRect(event->rect(), m_palette.cardBackground);
    } else {
        const double scale = textScale();
        painter.scale(scale, scale);
        drawNotesCard(painter, m_texts, m_layout, m_palette);
        painter.resetTransform();
    }
    painter.drawImage(characterRect().topLeft(), m_character.image());
}
