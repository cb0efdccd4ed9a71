#include "today/ClipboardShelfView.h"

#include "platform/TextFonts.h"
#include "today/ShelfList.h"
#include "today/ShelfPictures.h"
#include "today/ShelfQuestion.h"
#include "today/ShelfRowButton.h"
#include "today/ShelfViewLayout.h"
#include "today/ToggleSwitch.h"

#include <QDrag>
#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QPushButton>
#include <QShortcut>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr int shortcutRows = 9;

QRect scaled(const QRectF& points)
{
    const double scale = textScale();
    return QRectF(points.topLeft() * scale, points.size() * scale).toRect();
}

QColor faint(QColor color)
{
    color.setAlphaF(0.55F);
    return color;
}

/// Flat and in the panel's colours, whatever window it stands in.
QString viewStyleSheet(const Palette& palette)
{
    const QString sheet = QStringLiteral(
        "QScrollArea, QScrollArea > QWidget > QWidget { background: transparent; }"
        "QScrollBar:vertical { width: 8px; background: transparent; }"
        "QScrollBar::handle:vertical { background: %5; border-radius: 4px; min-height: 24px; }"
        "QScrollBar::add-line, QScrollBar::sub-line { height: 0; }"
        "QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }"
        "QLabel { color: %2; background: transparent; }"
        "QLabel#title { color: %1; }"
        "QLineEdit { background: %3; color: %1; border: 1px solid %4; border-radius: 6px;"
        " padding: 0 8px; selection-background-color: %4; selection-color: %6; }"
        "QPushButton { border: none; padding: 3px 7px; border-radius: 5px; background: transparent;"
        " color: %1; }"
        "QPushButton:hover { background: %3; }"
        "QPushButton:disabled { color: %8; }"
        "QPushButton:focus { border: 1px solid %4; padding: 2px 6px; }"
        "QMenu { background: %7; color: %1; border: 1px solid %5; padding: 4px; }"
        "QMenu::item { padding: 5px 22px 5px 12px; border-radius: 4px; }"
        "QMenu::item:selected { background: %4; color: %6; }");
    return sheet.arg(
        palette.label.name(), palette.secondaryLabel.name(), palette.windowBackground.name(),
        palette.accent.name(), palette.separator.name(), palette.accentText.name(),
        palette.cardBackground.name(), faint(palette.secondaryLabel).name(QColor::HexArgb));
}

bool canHold(const QMimeData& data)
{
    const QStringList types = pictureTypes();
    return data.hasUrls() || data.hasText()
        || std::ranges::any_of(types,
                               [&data](const QString& type) { return data.hasFormat(type); });
}

} // namespace

ClipboardShelfView::ClipboardShelfView(ClipboardShelf& shelf, QWidget* parent)
    : QWidget(parent)
    , m_shelf(shelf)
    , m_toggle(new ToggleSwitch(this))
    , m_title(new QLabel(tr("Save recent copies"), this))
    , m_status(new QLabel(this))
    , m_filter(new QLineEdit(this))
    , m_list(new ShelfList(shelf, this))
    , m_empty(new QLabel(this))
    , m_hint(new QLabel(this))
    , m_clearButton(new QPushButton(tr("Clear All"), this))
    , m_question(new ShelfQuestion(this))
{
    setFocusPolicy(Qt::StrongFocus);
    setAcceptDrops(true);
    setAccessibleName(tr("Clipboard"));
    m_title->setObjectName(u"title"_s);
    m_toggle->setAccessibleName(m_title->text());
    const QString explanation
        = tr("Keep the last %n things you copy for 24 hours", nullptr, ClipboardShelf::itemLimit);
    m_title->setToolTip(explanation);
    m_toggle->setToolTip(explanation);
    m_clearButton->setToolTip(tr("Remove every saved copy; original files stay on disk"));
    for (QLabel* label : {m_status, m_hint, m_empty})
        label->setTextFormat(Qt::PlainText);
    m_empty->setWordWrap(true);
    m_empty->setAlignment(Qt::AlignCenter);
    m_filter->setAccessibleName(tr("Filter"));
    m_filter->setPlaceholderText(tr("Filter"));
    m_filter->installEventFilter(this);
    m_filter->hide();
    connect(m_toggle, &QAbstractButton::clicked, this, &ClipboardShelfView::toggleHistory);
    connect(m_clearButton, &QPushButton::clicked, this, &ClipboardShelfView::clearAll);
    connect(m_filter, &QLineEdit::textEdited, this, &ClipboardShelfView::setFilter);
    m_list->onCopy = [this](int index) { copyItem(index); };
    m_list->onRemove = [this](int index) { removeItem(index); };
    m_list->onMenu = [this](int index, QPoint spot) { openMenu(index, spot); };
    m_list->onDrag = [this](const ShelfRowButton& row) { beginDrag(row); };
    m_list->onKey = [this](QKeyEvent* event) { keyPressEvent(event); };
    makeShortcuts();
    setColors(paletteFor(ColorScheme::light));
    layOut();
    reload();
}

ClipboardShelfView::~ClipboardShelfView() = default;

void ClipboardShelfView::makeShortcuts()
{
    for (int number = 1; number <= shortcutRows; ++number) {
        auto* shortcut = new QShortcut(QKeySequence(Qt::ALT | Qt::Key(Qt::Key_0 + number)), this);
        connect(shortcut, &QShortcut::activated, this,
                [this, number] { copyItem(m_list->tagAt(number - 1)); });
    }
}

QSize ClipboardShelfView::sizeHint() const
{
    const ShelfViewStyle style;
    return (QSizeF(style.width, style.height) * textScale()).toSize();
}

QRect ClipboardShelfView::characterPlace() const
{
    const ShelfViewStyle style;
    return scaled(shelfViewLayout(QSizeF(size()) / textScale(), {}, false, style).character);
}

void ClipboardShelfView::setColors(const Palette& palette)
{
    m_palette = palette;
    setStyleSheet(viewStyleSheet(palette));
    m_toggle->setColors(palette);
    m_question->setColors(palette);
    m_list->setColors(palette);
    update();
}

void ClipboardShelfView::layOut()
{
    const ShelfViewStyle style;
    const double scale = textScale();
    const ShelfViewLayout places
        = shelfViewLayout(QSizeF(size()) / scale, QSizeF(m_toggle->sizeHint()) / scale,
                          m_filter->isVisibleTo(this), style);
    m_title->setFont(textFont(style.titleSize * scale, QFont::Medium));
    for (QWidget* widget :
         std::initializer_list<QWidget*>{m_status, m_empty, m_hint, m_filter, m_clearButton})
        widget->setFont(textFont(style.textSize * scale));
    m_toggle->setGeometry(scaled(places.toggle));
    m_title->setGeometry(scaled(places.title));
    m_status->setGeometry(scaled(places.status));
    m_filter->setGeometry(scaled(places.filter));
    m_list->setGeometry(scaled(places.rows));
    m_empty->setGeometry(scaled(places.empty));
    const QRect footer = scaled(places.footer);
    const QSize button = m_clearButton->sizeHint();
    m_hint->setGeometry(footer);
    m_clearButton->setGeometry(QRect(footer.right() - button.width(),
                                     footer.center().y() - button.height() / 2, button.width(),
                                     button.height()));
    m_question->setGeometry(rect());
}

void ClipboardShelfView::reload()
{
    m_toggle->setChecked(m_shelf.isEnabled());
    m_clearButton->setEnabled(!m_shelf.items().isEmpty());
    if (m_shelf.items().isEmpty() && m_filter->isVisibleTo(this)) {
        m_filter->clear();
        m_filter->hide();
        layOut();
    }
    setStatus(usualStatus());
    fillRows();
}

void ClipboardShelfView::fillRows()
{
    const bool hasItems = !m_shelf.items().isEmpty();
    m_list->fill(m_filter->text());
    m_list->setVisible(!m_list->isEmpty());
    m_empty->setText(hasItems ? tr("No match") : emptyText());
    m_empty->setVisible(m_list->isEmpty());
    m_hint->setVisible(hasItems);
    m_hint->setText(m_filter->text().isEmpty() ? tr("Type to filter") : tr("Esc shows all"));
    update();
}

QString ClipboardShelfView::usualStatus() const
{
    if (m_shelf.lastWasTooLarge())
        return tr("Too large to keep");
    const QString text = m_shelf.isEnabled() ? tr("%1 / %2 · kept for 24 hours")
                                             : tr("%1 / %2 · copies not saved");
    return text.arg(m_shelf.items().size()).arg(ClipboardShelf::itemLimit);
}

QString ClipboardShelfView::emptyText() const
{
    if (m_shelf.isEnabled())
        return tr("Nothing yet. Copy with ⌘C, or drop files and images here.");
    return tr("Drop files and images here, or turn on to keep the last %n things you copy for 24 "
              "hours. Copies from password managers are skipped, and everything stays on this Mac.",
              nullptr, ClipboardShelf::itemLimit);
}

void ClipboardShelfView::setStatus(const QString& text)
{
    m_status->setText(text);
}

std::optional<ShelfItem> ClipboardShelfView::itemAt(int index) const
{
    if (index < 0 || index >= m_shelf.items().size())
        return std::nullopt;
    return m_shelf.items().at(index);
}

void ClipboardShelfView::toggleHistory()
{
    m_shelf.setEnabled(m_toggle->isChecked());
    reload();
}

void ClipboardShelfView::copyItem(int index)
{
    const std::optional<ShelfItem> item = itemAt(index);
    if (!item)
        return;
    setStatus(m_shelf.copy(*item) ? tr("Copied to clipboard") : tr("Item no longer available"));
}

void ClipboardShelfView::removeItem(int index)
{
    if (const std::optional<ShelfItem> item = itemAt(index)) {
        m_shelf.remove(*item);
        reload();
    }
}

void ClipboardShelfView::clearAll()
{
    const int count = int(m_shelf.items().size());
    m_question->ask(tr("Clear recent copies?"),
                    tr("This removes %n saved copies. Original files and the current clipboard "
                       "stay unchanged.",
                       nullptr, count),
                    tr("Clear All"), [this] {
                        m_shelf.clear();
                        reload();
                    });
}

void ClipboardShelfView::openMenu(int index, QPoint place)
{
    const std::optional<ShelfItem> item = itemAt(index);
    if (!item)
        return;
    // The list may change while the menu is open: the item counts, not its place.
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    connect(menu->addAction(tr("Copy")), &QAction::triggered, this, [this, copied = *item] {
        setStatus(m_shelf.copy(copied) ? tr("Copied to clipboard")
                                       : tr("Item no longer available"));
    });
    connect(menu->addAction(tr("Remove")), &QAction::triggered, this, [this, removed = *item] {
        m_shelf.remove(removed);
        reload();
    });
    menu->popup(place);
}

void ClipboardShelfView::beginDrag(const ShelfRowButton& row)
{
    const std::optional<ShelfItem> item = itemAt(row.tag);
    if (!item || m_draggedItemID)
        return;
    std::unique_ptr<QMimeData> writer = m_shelf.dragWriter(*item);
    if (!writer) {
        setStatus(tr("Item no longer available"));
        return;
    }
    m_draggedItemID = item->id;
    auto* drag = new QDrag(this);
    drag->setMimeData(writer.release());
    drag->setPixmap(row.iconPicture());
    drag->setHotSpot(QPoint());
    // Returns when the drag is over; much may have happened by then.
    const QPointer<ClipboardShelfView> view(this);
    const Qt::DropAction action = drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::CopyAction);
    if (view)
        dragEnded(*item, action);
}

void ClipboardShelfView::dragEnded(const ShelfItem& item, Qt::DropAction action)
{
    m_draggedItemID.reset();
    m_shelf.endDrag(item);
    if (action == Qt::IgnoreAction)
        return;
    m_shelf.remove(item);
    reload();
    setStatus(action == Qt::MoveAction ? tr("Moved") : tr("Dropped"));
}

void ClipboardShelfView::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->source() || !canHold(*event->mimeData())) // what comes from Vexlo itself stays there
        return;
    m_isDropTarget = true;
    event->setDropAction(Qt::CopyAction);
    event->accept();
    update();
}

void ClipboardShelfView::dragLeaveEvent(QDragLeaveEvent*)
{
    m_isDropTarget = false;
    update();
}

void ClipboardShelfView::dropEvent(QDropEvent* event)
{
    m_isDropTarget = false;
    update();
    event->setDropAction(Qt::CopyAction);
    event->accept();
    m_shelf.addDropped(*event->mimeData(), currentDate(),
                       [view = QPointer(this)](ClipboardShelf::Outcome outcome) {
                           if (view && outcome == ClipboardShelf::Outcome::nothing)
                               view->setStatus(tr("Can't keep that"));
                       });
}

void ClipboardShelfView::setFilter(const QString& text)
{
    const bool isShown = m_filter->isVisibleTo(this);
    const bool hasFocus = m_filter->hasFocus();
    if (m_filter->text() != text)
        m_filter->setText(text);
    m_filter->setVisible(!text.isEmpty());
    if (isShown != !text.isEmpty())
        layOut();
    fillRows();
    if (!text.isEmpty())
        m_filter->setFocus();
    else if (hasFocus)
        setFocus();
}

void ClipboardShelfView::keyPressEvent(QKeyEvent* event)
{
    const qsizetype focused = m_list->focusedRow();
    const QString text = event->text();
    const bool isPlain = (event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == 0;
    if (event->key() == Qt::Key_Escape && m_filter->isVisibleTo(this))
        setFilter({});
    else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        copyItem(m_list->tagAt(std::max<qsizetype>(focused, 0)));
    else if (event->key() == Qt::Key_Delete && focused >= 0)
        removeItem(m_list->tagAt(focused));
    else if (event->key() == Qt::Key_Backspace && !m_filter->text().isEmpty())
        setFilter(m_filter->text().chopped(1));
    else if (isPlain && !m_shelf.items().isEmpty() && !text.isEmpty() && text.at(0).isPrint())
        setFilter(m_filter->text() + text);
    else if (!isPlain || !m_list->moveFocus(event->key()))
        QWidget::keyPressEvent(event);
}

/// From the filter, too, the arrows reach the rows, Enter copies the first, and Escape ends it.
bool ClipboardShelfView::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != m_filter || event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    auto* key = static_cast<QKeyEvent*>(event);
    switch (key->key()) {
    case Qt::Key_Escape:
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        keyPressEvent(key);
        return true;
    default:
        return false;
    }
}

bool ClipboardShelfView::event(QEvent* event)
{
    // Another font of the desktop's changes every measure.
    if (event->type() == QEvent::ApplicationFontChange) {
        updateGeometry();
        layOut();
    }
    return QWidget::event(event);
}

void ClipboardShelfView::resizeEvent(QResizeEvent*)
{
    layOut();
}

void ClipboardShelfView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    reload();
}

void ClipboardShelfView::paintEvent(QPaintEvent*)
{
    const ShelfViewStyle style;
    const double scale = textScale();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(scale, scale);
    const ShelfViewLayout places = shelfViewLayout(QSizeF(size()) / scale, {}, false, style);
    drawCardFrame(painter, places.header, m_palette, style);
    drawCardFrame(painter, places.list, m_palette, style);
    if (m_shelf.items().isEmpty()) {
        painter.save();
        painter.translate(places.emptySymbol.center());
        painter.scale(style.emptySymbolScale, style.emptySymbolScale);
        const QRectF place(-places.emptySymbol.width() / 2, -places.emptySymbol.height() / 2,
                           places.emptySymbol.width(), places.emptySymbol.height());
        drawShelfSymbol(painter, ShelfItemKind::text, place, faint(m_palette.secondaryLabel));
        painter.restore();
    }
    if (m_isDropTarget) {
        const qreal inset = style.dropInset + style.dropBorder / 2;
        painter.setPen(QPen(m_palette.accent, style.dropBorder));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(
            QRectF(QPointF(), QSizeF(size()) / scale).adjusted(inset, inset, -inset, -inset),
            style.dropRadius, style.dropRadius);
    }
}
