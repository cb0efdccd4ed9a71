#include "app/ThemePane.h"

#include "app/SettingsControls.h"
#include "characters/PixelTheme.h"
#include "today/ToggleSwitch.h"
#include "usage/ProviderRegistry.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

const QString systemId = u"system"_s;

} // namespace

ThemePane::ThemePane(SettingsDraft& draft, const PixelTheme& theme)
    : SettingsPane(draft)
    , m_theme(theme)
    , m_matches(new ToggleSwitch)
    , m_reset(new QPushButton(tr("Reset All")))
{
    auto* column = new QVBoxLayout(this);
    column->addWidget(new SettingsHeading(tr("CARD COLORS")));
    for (const QString& id : draft.todayOrder)
        column->addWidget(settingsRow(ProviderRegistry::definition(id)->name, {}, makeWell(id)));
    auto* resetRow = new QHBoxLayout;
    resetRow->addWidget(
        new SettingsNote(tr("Preview the original card and System colors. Save to apply.")), 1);
    resetRow->addWidget(m_reset);
    column->addLayout(resetRow);
    column->addWidget(new SettingsHeading(tr("SYSTEM PAGE")));
    column->addWidget(settingsRow(tr("Match system accent"), {}, m_matches));
    column->addWidget(settingsRow(tr("Accent color"), {}, makeWell(systemId)));
    column->addStretch();

    connect(m_matches, &QAbstractButton::clicked, this, [this](bool isOn) {
        edit([isOn](SettingsDraft& d) { d.systemMatchesAccent = isOn; });
        load();
    });
    connect(m_reset, &QPushButton::clicked, this, [this] {
        edit([](SettingsDraft& d) {
            d.choices.palette.clear();
            d.systemMatchesAccent = false;
        });
        load();
    });
}

ColorWell* ThemePane::makeWell(const QString& id)
{
    auto* well = new ColorWell;
    m_wells.insert(id, well);
    well->onPick = [this, id](const QColor& color) {
        edit([&](SettingsDraft& d) { d.choices.palette.insert(id, color); });
    };
    return well;
}

QColor ThemePane::originalColor(const QString& id) const
{
    PixelTheme original = m_theme;
    original.choices = {};
    return original.color(id);
}

void ThemePane::load()
{
    for (const auto& [id, well] : m_wells.asKeyValueRange())
        well->setColor(draft().choices.palette.value(id, originalColor(id)));
    m_matches->setChecked(draft().systemMatchesAccent);
    m_wells.value(systemId)->setEnabled(!draft().systemMatchesAccent);
}

void ThemePane::setColors(const Palette& palette)
{
    for (ColorWell* well : std::as_const(m_wells))
        well->setColors(palette);
    m_matches->setColors(palette);
}
