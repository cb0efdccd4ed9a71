#include "characters/CharacterGallery.h"

#include "characters/CharacterChoiceView.h"
#include "characters/CharacterGridLayout.h"
#include "characters/Retire.h"
#include "platform/TextFonts.h"

#include <QEvent>
#include <QLabel>

#include <algorithm>
#include <cmath>

namespace {

constexpr CharacterGridStyle sizes;

void setTextColor(QLabel& label, const QColor& color)
{
    QPalette colors = label.palette();
    colors.setColor(QPalette::WindowText, color);
    label.setPalette(colors);
}

QRect scaled(const QRectF& points, double scale)
{
    return QRectF(points.topLeft() * scale, points.size() * scale).toRect();
}

} // namespace

CharacterGallery::CharacterGallery(QWidget* parent)
    : QWidget(parent)
    , m_nothing(new QLabel(this))
    , m_palette(paletteFor(ColorScheme::light))
{
    setAutoFillBackground(true);
    setAccessibleName(tr("Characters"));
    m_nothing->setAlignment(Qt::AlignCenter);
    m_nothing->setTextFormat(Qt::PlainText);
    m_nothing->setWordWrap(true);
    m_nothing->hide();
}

template<typename Visit> void CharacterGallery::forEachTile(Visit visit)
{
    for (Group& group : m_groups) {
        for (Tile& tile : group.tiles)
            visit(tile);
    }
}

void CharacterGallery::setGroups(const QList<CatalogGroup>& groups)
{
    for (const Group& group : m_groups) {
        retire(group.heading);
        for (const Tile& tile : group.tiles)
            retire(tile.view);
    }
    m_groups.clear();
    for (const CatalogGroup& group : groups)
        makeGroup(group);
}

void CharacterGallery::makeGroup(const CatalogGroup& group)
{
    Group made{.heading = new QLabel(group.name, this)};
    made.heading->setTextFormat(Qt::PlainText);
    made.heading->setToolTip(group.name);
    setTextColor(*made.heading, m_palette.secondaryLabel);
    for (const CharacterChoice& choice : group.characters)
        made.tiles.push_back({.view = makeTile(choice)});
    m_groups.push_back(std::move(made));
}

CharacterChoiceView* CharacterGallery::makeTile(const CharacterChoice& choice)
{
    auto* view = new CharacterChoiceView(choice.id, this);
    view->setCharacterName(choice.name);
    view->setColors(m_palette);
    view->setBadges(m_badges.value(choice.id));
    view->setSelected(choice.id == m_selected);
    view->installEventFilter(this);
    view->onSelect = [this](const QString& id) {
        if (onSelect)
            onSelect(id);
    };
    return view;
}

void CharacterGallery::setTheme(const PixelTheme* theme)
{
    m_theme = theme;
    forEachTile([](Tile& tile) { tile.character.forget(); });
}

void CharacterGallery::setColors(const Palette& palette)
{
    m_palette = palette;
    QPalette ground = this->palette();
    ground.setColor(QPalette::Window, palette.windowBackground);
    setPalette(ground);
    setTextColor(*m_nothing, palette.secondaryLabel);
    for (const Group& group : m_groups)
        setTextColor(*group.heading, palette.secondaryLabel);
    forEachTile([&](Tile& tile) { tile.view->setColors(palette); });
}

void CharacterGallery::setBadges(const QHash<QString, QStringList>& badges)
{
    m_badges = badges;
    forEachTile([&](Tile& tile) { tile.view->setBadges(badges.value(tile.view->characterID())); });
}

void CharacterGallery::setSelected(const QString& id)
{
    m_selected = id;
    forEachTile([&](Tile& tile) { tile.view->setSelected(tile.view->characterID() == id); });
    updateTabStop();
}

void CharacterGallery::filter(const QString& text)
{
    bool isEmpty = true;
    for (Group& group : m_groups) {
        group.isShown = false;
        for (const Tile& tile : group.tiles) {
            const bool fits = tile.view->characterName().contains(text, Qt::CaseInsensitive);
            tile.view->setVisible(fits);
            group.isShown = group.isShown || fits;
        }
        group.heading->setVisible(group.isShown);
        isEmpty = isEmpty && !group.isShown;
    }
    m_nothing->setText(tr("No character is called “%1”.").arg(text));
    m_nothing->setVisible(isEmpty && !text.isEmpty());
    updateTabStop();
}

void CharacterGallery::layOut(int width, int leastHeight)
{
    const double scale = textScale();
    const QFont font = textFont(sizes.headingSize * scale, QFont::DemiBold);
    QList<GridGroup> groups;
    for (const Group& group : m_groups) {
        const auto shown = std::ranges::count_if(
            group.tiles, [](const Tile& tile) { return !tile.view->isHidden(); });
        const QString name = group.heading->text();
        groups.append({int(shown), QFontMetricsF(font).horizontalAdvance(name) / scale});
    }
    const GridPlaces places = gridPlaces(groups, width / scale);
    for (size_t i = 0; i < m_groups.size(); ++i) {
        const GridGroupPlace& place = places.groups[qsizetype(i)];
        m_groups[i].heading->setFont(font);
        m_groups[i].heading->setGeometry(scaled(place.heading, scale));
        auto corner = place.tiles.cbegin();
        for (const Tile& tile : m_groups[i].tiles) {
            if (!tile.view->isHidden())
                tile.view->setGeometry({(*corner++ * scale).toPoint(), tile.view->sizeHint()});
        }
    }
    resize(width, std::max(int(std::ceil(places.height * scale)), leastHeight));
    m_nothing->setFont(textFont(sizes.nothingSize * scale));
    m_nothing->setGeometry(0, 0, width, leastHeight);
}

void CharacterGallery::refreshPictures(const CharacterAnimation& animation, const QRect& inSight)
{
    if (!m_theme)
        return;
    forEachTile([&](Tile& tile) {
        if (tile.view->isHidden() || !tile.view->geometry().intersects(inSight))
            return;
        if (const auto picture
            = tile.character.next(*m_theme, tile.view->characterID(), animation,
                                  tile.view->characterSide(), devicePixelRatioF()))
            tile.view->setCharacterImage(*picture);
    });
}

CharacterChoiceView* CharacterGallery::tile(const QString& id) const
{
    for (const Group& group : m_groups) {
        for (const Tile& tile : group.tiles) {
            if (tile.view->characterID() == id)
                return tile.view;
        }
    }
    return nullptr;
}

CharacterChoiceView* CharacterGallery::tabStop() const
{
    CharacterChoiceView* chosen = tile(m_selected);
    if (chosen && !chosen->isHidden())
        return chosen;
    for (const Group& group : m_groups) {
        for (const Tile& tile : group.tiles) {
            if (!tile.view->isHidden())
                return tile.view;
        }
    }
    return nullptr;
}

void CharacterGallery::updateTabStop()
{
    if (CharacterChoiceView* stop = tabStop())
        stop->becomeTabStop();
}

bool CharacterGallery::eventFilter(QObject* watched, QEvent* event)
{
    auto* tile = qobject_cast<CharacterChoiceView*>(watched);
    if (tile && event->type() == QEvent::FocusIn && onFocus)
        onFocus(*tile);
    return QWidget::eventFilter(watched, event);
}
