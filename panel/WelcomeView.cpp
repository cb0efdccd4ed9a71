#include "panel/WelcomeView.h"

#include "characters/CharacterChoiceView.h"
#include "characters/SpeechFont.h"
#include "characters/WidgetPalette.h"
#include "panel/WelcomeMascot.h"
#include "platform/TextFonts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr WelcomeStyle sizes;

QString startButtonStyle(const Palette& palette, double scale)
{
    return u"QPushButton { background: %1; color: %2; border: none; border-radius: %4px; } "
           "QPushButton:focus { border: 2px solid %3; } "
           "QPushButton:pressed { background: %3; color: %5; }"_s.arg(
               palette.accent.name(), palette.accentText.name(), palette.label.name(),
               QString::number(qRound(sizes.buttonRadius * scale)),
               palette.windowBackground.name());
}

QString hintStyle(const Palette& palette, double scale)
{
    return u"background: %1; color: %2; border: 1px solid %3; border-radius: %4px; "
           "padding: %5px; margin-bottom: %5px;"_s.arg(
               palette.cardBackground.name(), palette.label.name(), palette.separator.name(),
               QString::number(qRound(sizes.buttonRadius * scale)),
               QString::number(qRound(sizes.headingGap * scale)));
}

} // namespace

WelcomeView::WelcomeView(const SpeechFont& speech, const std::vector<Choice>& today,
                         const std::vector<Choice>& buddies)
    : m_scale(fittingScale())
    , m_mascot(new WelcomeMascot(speech.font(WelcomeMascotStyle().textSize * m_scale), m_scale))
    , m_column(new QVBoxLayout(this))
{
    setWindowTitle(tr("Welcome to Vexlo"));
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint
                   | Qt::WindowCloseButtonHint);
    const int margin = qRound(sizes.margin * m_scale);
    m_column->setContentsMargins(margin, margin, margin, margin);
    m_column->setSpacing(0);
    m_column->addWidget(m_mascot);
    m_column->addStretch();
    addLabel(tr("Welcome to Vexlo"), speech.font(sizes.titleSize * m_scale), Qt::AlignHCenter);
    m_quietLabels.append(addLabel(tr("A pixel buddy for your day, your Mac, and your AI limits."),
                                  textFont(sizes.textSize * m_scale), Qt::AlignHCenter));
    m_todayTiles = addTiles(tr("What should Today show?"), today, &WelcomeView::onToday);
    m_buddyTiles = addTiles(tr("Pick your menu bar buddy"), buddies, &WelcomeView::onBuddy);
    addFoot();
    setColors(paletteFor(ColorScheme::light));
    fit();
}

double WelcomeView::fittingScale() const
{
    // With very large text the window would be higher than many a screen.
    const QSizeF room = screen()->availableSize();
    const double widest = room.width() / sizes.size.width();
    const double highest
        = (room.height() - sizes.titleBar) / (sizes.size.height() + sizes.hintRoom);
    return std::max(1.0, std::min({textScale(), widest, highest}));
}

void WelcomeView::addSpace(qreal points)
{
    m_column->addSpacing(qRound(points * m_scale));
}

QLabel* WelcomeView::addLabel(const QString& text, const QFont& font, Qt::Alignment alignment)
{
    auto* label = new QLabel(text);
    label->setFont(font);
    label->setAlignment(alignment);
    label->setWordWrap(true);
    m_column->addWidget(label);
    return label;
}

std::vector<WelcomeView::Tile>
WelcomeView::addTiles(const QString& heading, const std::vector<Choice>& choices,
                      std::function<void(int index)> WelcomeView::*callback)
{
    addSpace(sizes.sectionGap);
    m_column->addStretch();
    addLabel(heading, textFont(sizes.headingSize * m_scale, QFont::DemiBold), Qt::AlignLeft);
    addSpace(sizes.headingGap);
    auto* box = new QWidget; // arrow keys stay among its tiles
    box->setAccessibleName(heading);
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(qRound(sizes.tileGap * m_scale));
    std::vector<Tile> tiles;
    for (const Choice& choice : choices) {
        auto* tile = new CharacterChoiceView(choice.character);
        tile->setScale(m_scale);
        tile->setCharacterName(choice.title);
        tile->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        tile->onSelect = [this, callback, index = int(tiles.size())](const QString&) {
            if (this->*callback)
                (this->*callback)(index);
        };
        row->addWidget(tile, 1);
        tiles.push_back({.view = tile});
    }
    m_column->addWidget(box);
    return tiles;
}

void WelcomeView::addFoot()
{
    addSpace(sizes.sectionGap);
    m_column->addStretch();
    m_hint = addLabel({}, textFont(sizes.smallSize * m_scale), Qt::AlignLeft);
    m_hint->setTextFormat(Qt::PlainText);
    m_hint->hide();
    auto* foot = new QHBoxLayout;
    auto* note = new QLabel(tr("You can change these any time in Settings."));
    note->setFont(textFont(sizes.smallSize * m_scale));
    note->setWordWrap(true);
    m_quietLabels.append(note);
    m_start = new QPushButton(tr("Start"));
    m_start->setFont(textFont(sizes.textSize * m_scale, QFont::DemiBold));
    m_start->setFixedSize((sizes.button * m_scale).toSize());
    m_start->setCursor(Qt::PointingHandCursor);
    m_start->setDefault(true);
    connect(m_start, &QPushButton::clicked, this, [this] {
        if (onStart)
            onStart();
    });
    foot->addWidget(note, 1);
    foot->addWidget(m_start);
    m_column->addLayout(foot);
    m_start->setFocus();
}

void WelcomeView::setColors(const Palette& palette)
{
    setPalette(widgetPalette(palette));
    for (QLabel* label : std::as_const(m_quietLabels)) {
        QPalette quiet = label->palette();
        quiet.setColor(QPalette::WindowText, palette.secondaryLabel);
        label->setPalette(quiet);
    }
    m_mascot->setColors(palette);
    for (const std::vector<Tile>* tiles : {&m_todayTiles, &m_buddyTiles}) {
        for (const Tile& tile : *tiles)
            tile.view->setColors(palette);
    }
    m_start->setStyleSheet(startButtonStyle(palette, m_scale));
    m_hint->setStyleSheet(hintStyle(palette, m_scale));
}

void WelcomeView::setHint(const QString& text)
{
    m_hint->setText(text);
    m_hint->setVisible(!text.isEmpty());
    fit();
}

void WelcomeView::fit()
{
    QSize size = (sizes.size * m_scale).toSize();
    if (!m_hint->isHidden()) {
        const int width = size.width() - 2 * qRound(sizes.margin * m_scale);
        size.rheight() += m_hint->heightForWidth(width);
    }
    setFixedSize(size);
}

void WelcomeView::setPicked(int today, int buddy)
{
    for (int i = 0; i < int(m_todayTiles.size()); ++i)
        m_todayTiles[size_t(i)].view->setSelected(i == today);
    for (int i = 0; i < int(m_buddyTiles.size()); ++i)
        m_buddyTiles[size_t(i)].view->setSelected(i == buddy);
}

void WelcomeView::say(const QString& text)
{
    m_mascot->say(text);
}

void WelcomeView::typeOn(int count)
{
    m_mascot->typeOn(count);
}

void WelcomeView::animate(const PixelTheme& theme, const QString& mascot,
                          const CharacterAnimation& animation)
{
    m_mascot->animate(theme, mascot, animation);
    for (std::vector<Tile>* tiles : {&m_todayTiles, &m_buddyTiles}) {
        for (Tile& tile : *tiles) {
            if (const auto image
                = tile.character.next(theme, tile.view->characterID(), animation,
                                      tile.view->characterSide(), devicePixelRatioF()))
                tile.view->setCharacterImage(*image);
        }
    }
}
