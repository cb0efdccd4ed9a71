#include "characters/CharacterChoiceView.h"

#include "platform/TextFonts.h"

#include <QPainter>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr ChoiceTileStyle sizes;
constexpr qreal selectedLine = 2; // points
constexpr qreal restingLine = 1;

} // namespace

CharacterChoiceView::CharacterChoiceView(QString characterID, QWidget* parent)
    : CharacterTile(parent)
    , m_id(std::move(characterID))
{
    connect(this, &QAbstractButton::clicked, this, [this] {
        if (onSelect)
            onSelect(m_id);
    });
}

void CharacterChoiceView::setBadges(const QStringList& badges)
{
    if (badges == m_badges)
        return;
    m_badges = badges;
    describe();
    update();
}

void CharacterChoiceView::describe()
{
    setAccessibleName(characterName());
    setAccessibleDescription(m_badges.join(u", "_s));
    setToolTip(m_badges.isEmpty() ? characterName()
                                  : characterName() + u'\n' + m_badges.join(u", "_s));
}

QSize CharacterChoiceView::sizeHint() const
{
    return (sizes.size * scale()).toSize();
}

QRectF CharacterChoiceView::characterPlace() const
{
    return {(bounds().width() - sizes.characterSide) / 2, sizes.characterTop, sizes.characterSide,
            sizes.characterSide};
}

void CharacterChoiceView::drawTile(QPainter& painter) const
{
    const qreal line = isSelected() ? selectedLine : restingLine;
    const QRectF edge = bounds().adjusted(line / 2, line / 2, -line / 2, -line / 2);
    painter.setPen(QPen(isSelected() ? colors().accent : colors().separator, line));
    painter.setBrush(colors().cardBackground);
    painter.drawRoundedRect(edge, sizes.radius - line / 2, sizes.radius - line / 2);
    if (isSelected() || isHovered()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(isSelected() ? translucent(colors().accent, sizes.selectedTint)
                                      : translucent(colors().label, sizes.hoverTint));
        painter.drawRoundedRect(edge, sizes.radius, sizes.radius);
    }
    drawKeyboardRing(painter, sizes.ringInset, sizes.radius - sizes.ringInset);

    drawName(painter);
    drawBadges(painter);
}

void CharacterChoiceView::drawName(QPainter& painter) const
{
    const QFont font = textFont(sizes.nameSize, isSelected() ? QFont::DemiBold : QFont::Normal);
    const QFontMetricsF metrics(font);
    const qreal middle = m_badges.isEmpty() ? sizes.nameMiddle : sizes.nameMiddleWithBadges;
    const QRectF room(sizes.textMargin, middle - metrics.height() / 2,
                      bounds().width() - 2 * sizes.textMargin, metrics.height());
    painter.setFont(font);
    painter.setPen(colors().label);
    painter.drawText(room, Qt::AlignCenter,
                     metrics.elidedText(characterName(), Qt::ElideRight, room.width()));
}

QStringList CharacterChoiceView::shownBadges(const QFontMetricsF& metrics) const
{
    const auto widthOf = [&](const QStringList& badges) {
        qreal width = -sizes.badgeGap;
        for (const QString& badge : badges)
            width += metrics.horizontalAdvance(badge) + 2 * sizes.badgePadding + sizes.badgeGap;
        return width;
    };
    const qreal room = bounds().width() - 2 * sizes.textMargin;
    QStringList shown = m_badges;
    for (qsizetype kept = m_badges.size() - 1; kept > 0 && widthOf(shown) > room; --kept)
        shown = m_badges.first(kept) << u"+%1"_s.arg(m_badges.size() - kept);
    if (!shown.isEmpty() && widthOf(shown) > room) {
        const qreal others = widthOf(shown) - metrics.horizontalAdvance(shown.first());
        shown.first() = metrics.elidedText(shown.first(), Qt::ElideRight, room - others);
    }
    return shown;
}

void CharacterChoiceView::drawBadges(QPainter& painter) const
{
    const QFont font = textFont(sizes.badgeSize, QFont::DemiBold);
    const QFontMetricsF metrics(font);
    const QStringList badges = shownBadges(metrics);
    QList<QRectF> places;
    QRectF next(0, sizes.badgeMiddle - sizes.badgeHeight / 2, 0, sizes.badgeHeight);
    for (const QString& badge : badges) {
        next.setWidth(metrics.horizontalAdvance(badge) + 2 * sizes.badgePadding);
        places.append(next);
        next.moveLeft(next.right() + sizes.badgeGap);
    }
    const qreal indent = places.isEmpty() ? 0 : (bounds().width() - places.last().right()) / 2;
    painter.setFont(font);
    for (qsizetype i = 0; i < badges.size(); ++i) {
        const QRectF place = places[i].translated(indent, 0);
        painter.setPen(Qt::NoPen);
        painter.setBrush(colors().accent);
        painter.drawRoundedRect(place, sizes.badgeHeight / 2, sizes.badgeHeight / 2);
        painter.setPen(colors().accentText);
        painter.drawText(place, Qt::AlignCenter, badges[i]);
    }
}
