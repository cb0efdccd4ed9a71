#include "characters/CharacterGridView.h"

#include "characters/CharacterChoiceView.h"
#include "characters/CharacterGallery.h"
#include "characters/CharacterGridLayout.h"
#include "characters/CharacterSearchField.h"
#include "characters/WidgetPalette.h"
#include "platform/TextFonts.h"

#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QScrollArea>
#include <QScrollBar>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr CharacterGridStyle sizes;
constexpr int usualColumns = 5;
constexpr int usualRows = 3;
constexpr qreal dropLine = 2; // points
constexpr qreal dropRadius = 10;

QStringList characterPaths(const QMimeData& data)
{
    QStringList paths;
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile() && url.path().endsWith(".json"_L1, Qt::CaseInsensitive))
            paths.append(url.toLocalFile());
    }
    return paths;
}

QString pixels(qreal points)
{
    return QString::number(qRound(points * textScale())) + u"px"_s;
}

} // namespace

CharacterGridView::CharacterGridView(QWidget* parent)
    : QWidget(parent)
    , m_search(new CharacterSearchField(this))
    , m_gallery(new CharacterGallery)
    , m_scroll(new QScrollArea(this))
    , m_dropFrame(new QWidget(this))
    , m_palette(paletteFor(ColorScheme::light))
{
    setAcceptDrops(true);
    m_search->setAcceptDrops(false); // a file that is dropped there is for the grid
    m_search->setPlaceholderText(tr("Search characters"));
    m_search->setAccessibleName(m_search->placeholderText());
    m_search->installEventFilter(this);
    connect(m_search, &QLineEdit::textChanged, this, &CharacterGridView::filter);

    m_gallery->onFocus = [this](CharacterChoiceView& tile) { bringIntoSight(&tile); };
    m_gallery->onSelect = [this](const QString& id) {
        if (onSelect)
            onSelect(id);
    };
    m_scroll->setWidget(m_gallery);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->viewport()->installEventFilter(this);
    connect(m_scroll->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &CharacterGridView::refreshPictures);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_search);
    column->addWidget(m_scroll, 1);
    m_dropFrame->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_dropFrame->hide();
    applyColors();
}

void CharacterGridView::setGroups(const QList<CatalogGroup>& groups)
{
    const auto* focused = qobject_cast<CharacterChoiceView*>(m_gallery->focusWidget());
    const QString focusedId = focused && focused->hasFocus() ? focused->characterID() : QString();
    m_gallery->setGroups(groups);
    filter();
    if (CharacterChoiceView* again = m_gallery->tile(focusedId)) // in its place by now
        again->setFocus();
}

void CharacterGridView::setTheme(const PixelTheme* theme)
{
    m_gallery->setTheme(theme);
    refreshPictures();
}

void CharacterGridView::setAnimation(const CharacterAnimation& animation)
{
    m_animation = animation;
    refreshPictures();
}

void CharacterGridView::setBadges(const QHash<QString, QStringList>& badges)
{
    m_gallery->setBadges(badges);
}

void CharacterGridView::setSelected(const QString& id)
{
    if (id == m_selected)
        return;
    m_selected = id;
    m_gallery->setSelected(id);
    bringIntoSight(m_gallery->tile(id));
}

void CharacterGridView::bringIntoSight(CharacterChoiceView* tile)
{
    if (!tile || !tile->isVisible())
        return;
    const int margin = int((sizes.headingHeight + sizes.groupGap) * textScale());
    m_scroll->ensureWidgetVisible(tile, 0, margin);
}

void CharacterGridView::filter()
{
    m_gallery->filter(m_search->text().simplified());
    layOut();
}

void CharacterGridView::layOut()
{
    const QSize room = m_scroll->viewport()->size();
    m_gallery->layOut(room.width(), room.height());
    refreshPictures();
}

void CharacterGridView::refreshPictures()
{
    if (isVisible())
        m_gallery->refreshPictures(m_animation, {-m_gallery->pos(), m_scroll->viewport()->size()});
}

void CharacterGridView::setColors(const Palette& palette)
{
    m_palette = palette;
    applyColors();
}

void CharacterGridView::applyColors()
{
    const double scale = textScale();
    m_search->setColors(m_palette);
    layout()->setSpacing(qRound(sizes.searchGap * scale));
    m_dropFrame->setStyleSheet(u"border: %1 solid %2; border-radius: %3;"_s.arg(
        pixels(dropLine), m_palette.accent.name(), pixels(dropRadius)));
    m_scroll->verticalScrollBar()->setStyleSheet(scrollBarStyle(m_palette, scale));
    m_gallery->setColors(m_palette);
}

QSize CharacterGridView::sizeHint() const
{
    const qreal width
        = usualColumns * (sizes.tile.width() + sizes.gap) - sizes.gap + 2 * sizes.edge;
    const qreal height = usualRows * (sizes.tile.height() + sizes.headingHeight + sizes.groupGap);
    const int bar = m_scroll->verticalScrollBar()->sizeHint().width();
    return (QSizeF(width, height) * textScale()).toSize()
        + QSize(bar, m_search->sizeHint().height());
}

bool CharacterGridView::searchKey(int key)
{
    if (key == Qt::Key_Escape && !m_search->text().isEmpty()) {
        m_search->clear();
        return true;
    }
    if (key != Qt::Key_Down && key != Qt::Key_Return && key != Qt::Key_Enter)
        return false;
    if (CharacterChoiceView* tile = m_gallery->tabStop())
        tile->setFocus(Qt::TabFocusReason);
    return true;
}

bool CharacterGridView::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize && watched == m_scroll->viewport())
        layOut();
    else if (event->type() == QEvent::KeyPress && watched == m_search)
        return searchKey(static_cast<QKeyEvent*>(event)->key());
    return QWidget::eventFilter(watched, event);
}

bool CharacterGridView::event(QEvent* event)
{
    // Another font of the desktop's changes every measure.
    if (event->type() == QEvent::ApplicationFontChange) {
        applyColors();
        layOut();
    }
    return QWidget::event(event);
}

void CharacterGridView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    bringIntoSight(m_gallery->tile(m_selected));
    refreshPictures();
}

void CharacterGridView::showDropTarget(bool isShown)
{
    m_dropFrame->setGeometry(m_scroll->geometry());
    m_dropFrame->raise();
    m_dropFrame->setVisible(isShown);
}

void CharacterGridView::dragEnterEvent(QDragEnterEvent* event)
{
    if (!onDropFiles || characterPaths(*event->mimeData()).isEmpty())
        return;
    event->setDropAction(Qt::CopyAction);
    event->accept();
    showDropTarget(true);
}

void CharacterGridView::dragLeaveEvent(QDragLeaveEvent*)
{
    showDropTarget(false);
}

void CharacterGridView::dropEvent(QDropEvent* event)
{
    showDropTarget(false);
    event->setDropAction(Qt::CopyAction);
    event->accept();
    onDropFiles(characterPaths(*event->mimeData()));
}
