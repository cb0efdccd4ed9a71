#include "app/GeneralPane.h"

#include "app/SettingsControls.h"
#include "characters/Retire.h"
#include "platform/LoginItem.h"
#include "today/ToggleSwitch.h"
#include "usage/ProviderRegistry.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int longestTabName = 500; // what is typed beyond is of no use
constexpr int fieldWidth = 220;

} // namespace

GeneralPane::GeneralPane(SettingsDraft& draft, LoginItem& loginItem)
    : SettingsPane(draft)
    , m_loginItem(loginItem)
    , m_login(new ToggleSwitch)
    , m_tabName(new QLineEdit)
    , m_rows(new QVBoxLayout)
{
    auto* column = new QVBoxLayout(this);
    column->addWidget(new SettingsHeading(tr("PREFERENCES")));
    addSwitch(column, tr("Character speech"), tr("Characters talk about your usage"),
              &SettingsDraft::speech);
    column->addWidget(
        settingsRow(tr("Start at login"), tr("Open Vexlo when you sign in to your Mac"), m_login));
    addSwitch(column, tr("Characters on other tabs"),
              tr("Show a character on System and Clipboard"), &SettingsDraft::tabCharacters);
    addSwitch(column, tr("Show usage consumed"), tr("Off shows remaining"),
              &SettingsDraft::showsUsed);
    m_tabName->setMaxLength(longestTabName);
    m_tabName->setMinimumWidth(fieldWidth);
    m_tabName->setPlaceholderText(tr("e.g. Today; empty keeps AI Usage"));
    column->addWidget(settingsRow(tr("First tab name"), {}, m_tabName));
    column->addWidget(new SettingsHeading(tr("ON THE FIRST TAB")));
    m_rows->setSpacing(2);
    column->addLayout(m_rows);
    column->addWidget(
        new SettingsNote(tr("Stats stay on this Mac. Temperature uses the battery sensor.")));
    column->addStretch();
    connect(m_tabName, &QLineEdit::textEdited, this, [this](const QString& text) {
        edit([&text](SettingsDraft& d) { d.usageTabName = text; });
    });
}

ToggleSwitch* GeneralPane::addSwitch(QVBoxLayout* column, const QString& title,
                                     const QString& caption, bool SettingsDraft::*member)
{
    auto* toggle = new ToggleSwitch;
    column->addWidget(settingsRow(title, caption, toggle));
    m_switches.append({toggle, member});
    connect(toggle, &QAbstractButton::clicked, this,
            [this, member](bool isOn) { edit([=](SettingsDraft& d) { d.*member = isOn; }); });
    return toggle;
}

void GeneralPane::load()
{
    for (const auto& [toggle, member] : std::as_const(m_switches))
        toggle->setChecked(draft().*member);
    m_login->setChecked(startsAtLogin());
    if (m_tabName->text() != draft().usageTabName)
        m_tabName->setText(draft().usageTabName);
    loadRows();
}

void GeneralPane::loadRows()
{
    while (QLayoutItem* item = m_rows->takeAt(0)) {
        retire(item->widget());
        delete item;
    }
    for (const QString& id : draft().todayOrder)
        m_rows->addWidget(makeRow(id));
}

QWidget* GeneralPane::makeRow(const QString& id)
{
    const QString name = ProviderRegistry::definition(id)->name;
    auto* controls = new QWidget;
    auto* layout = new QHBoxLayout(controls);
    layout->setContentsMargins(0, 0, 0, 0);
    const auto addMove = [&](Qt::ArrowType arrow, const QString& title, int by) {
        auto* button = new QToolButton;
        button->setArrowType(arrow);
        button->setToolTip(title);
        button->setAccessibleName(title + u": "_s + name);
        const qsizetype place = draft().todayOrder.indexOf(id) + by;
        button->setEnabled(place >= 0 && place < draft().todayOrder.size());
        connect(button, &QToolButton::clicked, this, [this, id, by] {
            edit([&](SettingsDraft& d) { d.moveToday(id, by); });
            loadRows();
            // The row was made anew: the key that moved it goes on from where it stands now.
            const qsizetype row = draft().todayOrder.indexOf(id);
            const auto buttons = m_rows->itemAt(int(row))->widget()->findChildren<QToolButton*>();
            QToolButton* same = buttons.value(by < 0 ? 0 : 1);
            (same->isEnabled() ? same : buttons.value(by < 0 ? 1 : 0))->setFocus();
        });
        layout->addWidget(button);
    };
    addMove(Qt::UpArrow, tr("Move up"), -1);
    addMove(Qt::DownArrow, tr("Move down"), 1);
    auto* toggle = new ToggleSwitch;
    toggle->setColors(m_palette);
    toggle->setChecked(draft().enabled.value(id));
    toggle->setAccessibleName(name);
    connect(toggle, &QAbstractButton::clicked, this,
            [this, id](bool isOn) { edit([&](SettingsDraft& d) { d.enabled.insert(id, isOn); }); });
    layout->addWidget(toggle);
    return settingsRow(name, {}, controls);
}

void GeneralPane::disableLogin()
{
    m_login->setEnabled(false);
}

bool GeneralPane::startsAtLogin() const
{
    return m_loginItem.status() != LoginItem::Status::disabled;
}

std::optional<QString> GeneralPane::saveLogin()
{
    if (m_login->isChecked() == startsAtLogin())
        return std::nullopt;
    return m_login->isChecked() ? m_loginItem.enable() : m_loginItem.disable();
}

void GeneralPane::setColors(const Palette& palette)
{
    m_palette = palette;
    for (ToggleSwitch* toggle : findChildren<ToggleSwitch*>())
        toggle->setColors(palette);
}
