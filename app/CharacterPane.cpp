#include "app/CharacterPane.h"

#include "app/SettingsControls.h"
#include "characters/CharacterCatalog.h"
#include "characters/CharacterGridView.h"
#include "characters/CharacterImportDialog.h"
#include "characters/CharacterSlotView.h"
#include "characters/CustomCharacterLibrary.h"
#include "platform/AddressOpener.h"
#include "platform/Files.h"
#include "today/ToggleSwitch.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

#include <array>
#include <chrono>

using namespace Qt::StringLiterals;

namespace {

const QString menuTarget = u"menu"_s;
constexpr int slotsPerRow = 6;
constexpr int gridHeight = 340; // points
constexpr std::chrono::milliseconds reloadDelay{300};
const std::array colorModes{u"character"_s, u"theme"_s, u"custom"_s};

} // namespace

CharacterPane::CharacterPane(SettingsDraft& draft, QList<CharacterTarget> targets,
                             const Facilities& facilities)
    : SettingsPane(draft)
    , m_facilities(facilities)
    , m_targets(std::move(targets))
    , m_active(menuTarget)
    , m_grid(new CharacterGridView)
    , m_colorMode(new SegmentedControl({tr("Its own"), tr("Theme"), tr("Custom")}))
    , m_customColor(new ColorWell)
    , m_tired(new ToggleSwitch)
    , m_exhausted(new ToggleSwitch)
    , m_speed(new SegmentedControl({tr("0.5×"), tr("1×"), tr("2×")}))
    , m_motion(new SegmentedControl({tr("Lively"), tr("Calm")}))
    , m_preview(new SegmentedControl({tr("Normal"), tr("Tired"), tr("Exhausted")}))
{
    auto* column = new QVBoxLayout(this);
    column->addWidget(new SettingsNote(tr("Cards appear for services with a usage connection.")));
    column->addWidget(new SettingsHeading(tr("WHERE THEY APPEAR")));
    column->addWidget(makeTargets());
    column->addWidget(new SettingsNote(tr("Click a slot, then a character")));
    column->addWidget(makeColorRow());
    column->addWidget(new SettingsHeading(tr("CHARACTERS")));
    m_grid->setMinimumHeight(gridHeight);
    m_grid->setTheme(&m_facilities.theme);
    m_grid->onSelect = [this](const QString& id) { pick(id); };
    m_grid->onDropFiles = [this](const QStringList& paths) { import(paths); };
    column->addWidget(m_grid, 1);
    column->addWidget(makeLibraryRow());
    addMotionControls();
    m_reloadTimer.setSingleShot(true);
    connect(&m_reloadTimer, &QTimer::timeout, this, [this] { m_facilities.library.reloadLocal(); });
}

QWidget* CharacterPane::makeTargets()
{
    auto* box = new QWidget;
    box->setToolTip(tr("Click, then pick a character below. Double-click to reset."));
    auto* grid = new QGridLayout(box);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(6);
    for (int i = 0; i < int(m_targets.size()); ++i) {
        const CharacterTarget& target = m_targets[i];
        auto* view = new CharacterSlotView(target.id);
        view->setTitle(target.label);
        view->onActivate = [this, id = target.id] { activate(id); };
        view->onReset = [this, id = target.id] { resetTarget(id); };
        grid->addWidget(view, i / slotsPerRow, i % slotsPerRow, Qt::AlignLeft);
        m_slotViews.push_back({.view = view});
    }
    grid->setColumnStretch(slotsPerRow, 1);
    return box;
}

QWidget* CharacterPane::makeColorRow()
{
    auto* controls = new QWidget;
    auto* layout = new QHBoxLayout(controls);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_colorMode);
    layout->addWidget(m_customColor);
    m_colorMode->setAccessibleTitle(tr("Colors"));
    m_customColor->setAccessibleName(tr("Custom color"));
    m_colorMode->onSelect = [this](int index) {
        edit([&](SettingsDraft& d) {
            d.choices.colorModes.insert(m_active, colorModes.at(size_t(index)));
            if (!d.choices.customColors.contains(m_active))
                d.choices.customColors.insert(m_active, m_customColor->color());
        });
        loadColors();
    };
    m_customColor->onPick = [this](const QColor& color) {
        edit([&](SettingsDraft& d) { d.choices.customColors.insert(m_active, color); });
    };
    return settingsRow(tr("Colors"), tr("Of the character in the chosen place"), controls);
}

QWidget* CharacterPane::makeLibraryRow()
{
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* importButton = new QPushButton(tr("Import…"));
    auto* folderButton = new QPushButton(tr("Show folder"));
    layout->addWidget(importButton);
    layout->addWidget(folderButton);
    layout->addStretch();
    connect(importButton, &QPushButton::clicked, this,
            [this] { import(CharacterImportDialog::chooseFiles(window())); });
    connect(folderButton, &QPushButton::clicked, this, [this] {
        const QString folder = m_facilities.library.localDirectory();
        makePrivateFolder(folder);
        if (m_folderWatch)
            m_folderWatch->addPath(folder);
        m_facilities.opener.open(
            QUrl::fromLocalFile(folder), [pane = QPointer(this), folder](bool isOpen) {
                if (isOpen || !pane)
                    return;
                QMessageBox* box = settingsMessage(pane, pane->m_palette,
                                                   tr("The folder could not be opened."), folder);
                box->addButton(QMessageBox::Ok);
                box->open();
            });
    });
    return row;
}

void CharacterPane::addMotionControls()
{
    auto* column = static_cast<QVBoxLayout*>(layout());
    column->addWidget(settingsRow(
        tr("Get tired"),
        tr("The menu bar character gets tired when a 5-hour limit has 25% or less left."),
        m_tired));
    column->addWidget(settingsRow(tr("Get exhausted"),
                                  tr("The menu bar character is exhausted when a Claude or Codex "
                                     "limit, 5-hour or weekly, is used up."),
                                  m_exhausted));
    const auto addChoice
        = [&](const QString& heading, const QString& caption, SegmentedControl* control) {
              column->addWidget(new SettingsHeading(heading));
              column->addWidget(settingsRow({}, caption, control));
              control->setAccessibleTitle(caption);
          };
    addChoice(tr("SPEED"), tr("Character animation: 0.5×, 1×, or 2× speed"), m_speed);
    addChoice(tr("MOTION"),
              tr("Lively adds hops, walks, and other moves. Calm keeps characters idle."),
              m_motion);
    addChoice(tr("LOW LIMIT"),
              tr("Preview how characters look when a 5-hour limit has 25% or less left (Tired) or "
                 "a limit is used up (Exhausted). Only while Settings is open."),
              m_preview);
    connect(m_tired, &QAbstractButton::clicked, this,
            [this](bool isOn) { edit([=](SettingsDraft& d) { d.looks.tired = isOn; }); });
    connect(m_exhausted, &QAbstractButton::clicked, this,
            [this](bool isOn) { edit([=](SettingsDraft& d) { d.looks.exhausted = isOn; }); });
    m_speed->onSelect
        = [this](int step) { edit([=](SettingsDraft& d) { d.animationSpeed = step; }); };
    m_motion->onSelect
        = [this](int index) { edit([=](SettingsDraft& d) { d.lively = index == 0; }); };
    m_preview->onSelect = [this](int) { onPreviewChange(); };
}

void CharacterPane::showEvent(QShowEvent* event)
{
    if (m_names.isEmpty())
        reloadCharacters();
    m_folderWatch = std::make_unique<QFileSystemWatcher>();
    m_folderWatch->addPath(m_facilities.library.localDirectory()); // it need not be there
    connect(m_folderWatch.get(), &QFileSystemWatcher::directoryChanged, this,
            [this] { m_reloadTimer.start(reloadDelay); });
    SettingsPane::showEvent(event);
}

void CharacterPane::hideEvent(QHideEvent* event)
{
    m_folderWatch.reset();
    SettingsPane::hideEvent(event);
}

void CharacterPane::reloadCharacters()
{
    const QList<CatalogGroup> groups = CharacterCatalog::groups(
        m_facilities.library.officialCharacters(), m_facilities.library.categoryFile());
    for (const CatalogGroup& group : groups) {
        for (const CharacterChoice& choice : group.characters)
            m_names.insert(choice.id, choice.name);
    }
    m_grid->setTheme(&m_facilities.theme);
    m_grid->setGroups(groups);
    load();
}

QString CharacterPane::nameOf(const QString& character) const
{
    return m_names.value(character, character);
}

void CharacterPane::load()
{
    QHash<QString, QStringList> badges;
    for (qsizetype i = 0; i < m_targets.size(); ++i) {
        const CharacterTarget& target = m_targets[i];
        const QString character = draft().choices.character(target.id);
        badges[character].append(target.badge);
        CharacterSlotView* view = m_slotViews[size_t(i)].view;
        view->setActive(target.id == m_active);
        view->setCharacterName(nameOf(character));
    }
    m_grid->setBadges(badges);
    m_grid->setSelected(draft().choices.character(m_active));
    loadColors();
    m_tired->setChecked(draft().looks.tired);
    m_exhausted->setChecked(draft().looks.exhausted);
    m_speed->setSelected(draft().animationSpeed);
    m_motion->setSelected(draft().lively ? 0 : 1);
    animate(m_seconds, m_isLively);
}

void CharacterPane::loadColors()
{
    const QString mode = draft().choices.colorModes.value(m_active);
    const auto index = std::ranges::find(colorModes, mode) - colorModes.begin();
    m_colorMode->setSelected(index == std::ssize(colorModes) ? 0 : int(index));
    m_customColor->setColor(
        draft().choices.customColors.value(m_active, m_facilities.theme.characterColor(m_active)));
    m_customColor->setVisible(mode == colorModes.back());
}

void CharacterPane::activate(const QString& target)
{
    m_active = target;
    load();
}

void CharacterPane::pick(const QString& character)
{
    edit([&](SettingsDraft& d) { d.choices.characters.insert(m_active, character); });
    load();
}

void CharacterPane::resetTarget(const QString& target)
{
    m_active = target;
    edit([&](SettingsDraft& d) {
        d.choices.characters.remove(target);
        d.choices.colorModes.remove(target);
        d.choices.customColors.remove(target);
    });
    load();
}

CharacterAnimation CharacterPane::animation() const
{
    return {.seconds = m_seconds, .lively = m_isLively, .lowLimit = lowLimitPreview()};
}

void CharacterPane::animate(double seconds, bool lively)
{
    m_seconds = seconds;
    m_isLively = lively;
    if (!isVisible())
        return;
    m_grid->setAnimation(animation());
    for (Slot& slot : m_slotViews) {
        const QString target = slot.view->targetID();
        const QString character = m_facilities.theme.choices.character(target);
        CharacterAnimation own = animation();
        own.colors.insert(character, m_facilities.theme.characterColor(target));
        if (const auto image = slot.character.next(m_facilities.theme, character, own,
                                                   slot.view->characterSide(), devicePixelRatioF()))
            slot.view->setCharacterImage(*image);
    }
}

std::optional<MascotState> CharacterPane::lowLimitPreview() const
{
    switch (m_preview->selected()) {
    case 1:
        return MascotState::tired;
    case 2:
        return MascotState::exhausted;
    default:
        return std::nullopt;
    }
}

void CharacterPane::setLowLimitPreview(int step)
{
    m_preview->setSelected(step);
    onPreviewChange();
}

void CharacterPane::resetPreview()
{
    m_preview->setSelected(0);
}

void CharacterPane::import(const QStringList& paths)
{
    if (!paths.isEmpty())
        CharacterImportDialog::run(paths, m_facilities.library, m_facilities.theme, m_palette,
                                   m_isLively, window());
}

void CharacterPane::setColors(const Palette& palette)
{
    m_palette = palette;
    m_grid->setColors(palette);
    for (const Slot& slot : m_slotViews)
        slot.view->setColors(palette);
    m_customColor->setColors(palette);
    m_tired->setColors(palette);
    m_exhausted->setColors(palette);
}
