#include "app/SettingsWindow.h"

#include "app/SettingsControls.h"
#include "app/SidebarButton.h"
#include "app/ThemePane.h"
#include "characters/CharacterMotion.h"
#include "platform/PreferenceStore.h"
#include "platform/TextFonts.h"
#include "usage/ProviderRegistry.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QHideEvent>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QString heightKey = u"settingsTallPaneHeight"_s;

// In points.
constexpr QSizeF windowSize(780, 600);
constexpr double leastTallPane = 500;
constexpr int margin = 14;
constexpr int besideGap = 8; // between the panel and this window

namespace Icon {
const QStringList general{u"...CC..CC..."_s, u"..CCCCCCCC.."_s, u".CCCCCCCCCC."_s,
                          u"CCCC....CCCC"_s, u".CC......CC."_s, u".CC......CC."_s,
                          u".CC......CC."_s, u".CC......CC."_s, u"CCCC....CCCC"_s,
                          u".CCCCCCCCCC."_s, u"..CCCCCCCC.."_s, u"...CC..CC..."_s};
const QStringList theme{u"...CCCCCC..."_s, u".CCCCCCCCCC."_s, u".CC..CC..CC."_s, u"CCC..CC..CCC"_s,
                        u"CCCCCCCCCCCC"_s, u"C..CCCCCC..C"_s, u"C..CCCCCC..C"_s, u"CCCCCCCCCCC."_s,
                        u"CCC..CC....."_s, u".CC..CC....."_s, u".CCCCCCC...."_s, u"...CCCCC...."_s};
const QStringList character{u".CC......CC."_s, u".CCC....CCC."_s, u".CCCCCCCCCC."_s,
                            u"CCCCCCCCCCCC"_s, u"CC..CCCC..CC"_s, u"CC..CCCC..CC"_s,
                            u"CCCCCCCCCCCC"_s, u"CCCC....CCCC"_s, u"CCCCCCCCCCCC"_s,
                            u".CCCCCCCCCC."_s, u"..CCCCCCCC.."_s, u"..CC....CC.."_s};
const QStringList about{u"...CCCCCC..."_s, u".CCCCCCCCCC."_s, u".CCCC..CCCC."_s, u"CCCCC..CCCCC"_s,
                        u"CCCCCCCCCCCC"_s, u"CCCC...CCCCC"_s, u"CCCCC..CCCCC"_s, u"CCCCC..CCCCC"_s,
                        u"CCCCC..CCCCC"_s, u".CCC....CCC."_s, u".CCCCCCCCCC."_s, u"...CCCCCC..."_s};
const QStringList accounts{u"............"_s, u".CCCC......."_s, u"CCCCCC......"_s,
                           u"CC..CC......"_s, u"CC..CCCCCCCC"_s, u"CC..CCCCCCCC"_s,
                           u"CCCCCC..CC.C"_s, u".CCCC...CC.C"_s, u"........CC.."_s,
                           u"............"_s, u"............"_s, u"............"_s};
} // namespace Icon

} // namespace

SettingsWindow::SettingsWindow(const Facilities& facilities)
    : m_facilities(facilities)
    , m_draft(SettingsDraft::saved(facilities.preferences, facilities.registry))
    , m_theme(facilities.loadTheme())
    , m_sidebar(new QButtonGroup(this))
    , m_stack(new QStackedWidget)
    , m_save(new QPushButton(tr("Save")))
    , m_general(new GeneralPane(m_draft, facilities.loginItem))
    , m_themePane(new ThemePane(m_draft, m_theme))
    , m_character(new CharacterPane(m_draft, characterTargets(facilities.registry),
                                    {m_theme, facilities.library, facilities.opener}))
    , m_about(new AboutPane(m_draft, facilities.about))
    , m_accounts(new AccountsPane(m_draft, facilities.accounts))
{
    setObjectName(u"window"_s);
    setAttribute(Qt::WA_StyledBackground);
    setWindowFlag(Qt::Window);
    setWindowTitle(tr("Vexlo Settings"));
    setFocusPolicy(Qt::ClickFocus);
    addPane(u"general"_s, tr("General"), Icon::general, m_general);
    addPane(u"theme"_s, tr("Theme"), Icon::theme, m_themePane);
    addPane(u"character"_s, tr("Character"), Icon::character, m_character);
    addPane(u"about"_s, tr("About"), Icon::about, m_about);
    addPane(u"accounts"_s, tr("Accounts"), Icon::accounts, m_accounts);
    layOut();
    connect(m_sidebar, &QButtonGroup::idClicked, this, &SettingsWindow::selectSettingsPane);
    m_character->onPreviewChange = [this] { previewSettings(); };
    m_about->onShowWelcome = [this] { onShowWelcome(); };
    m_accounts->onConnectClaude = [this] { onConnectClaude(); };
    m_accounts->onKeyStored = [this](const QString& id) { onKeyStored(id); };
    if (facilities.isDemo) {
        m_accounts->setEnabled(false);
        m_general->disableLogin();
    }
    selectSettingsPane(0);
}

void SettingsWindow::layOut()
{
    // Tab goes through what comes into the window first.
    auto* sidebar = new QVBoxLayout;
    sidebar->setSpacing(2);
    for (QAbstractButton* button : m_sidebar->buttons())
        sidebar->addWidget(button);
    sidebar->addStretch();
    auto* columns = new QHBoxLayout;
    columns->setSpacing(margin);
    columns->addLayout(sidebar);
    columns->addWidget(m_stack, 1);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(margin, margin, margin, margin);
    column->addLayout(columns, 1);
    column->addWidget(makeFooter());
}

void SettingsWindow::addPane(const QString& id, const QString& title, const QStringList& icon,
                             SettingsPane* pane)
{
    auto* button = new SidebarButton(title, icon, this);
    m_sidebar->addButton(button, int(m_panes.size()));
    auto* area = new QScrollArea;
    area->setWidget(pane);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFocusPolicy(Qt::NoFocus);
    m_stack->addWidget(area);
    m_panes.append(pane);
    m_paneIds.append(id);
    pane->onChange = [this] { previewSettings(); };
}

QWidget* SettingsWindow::makeFooter()
{
    auto* footer = new QWidget;
    auto* row = new QHBoxLayout(footer);
    row->setContentsMargins(0, 0, 0, 0);
    auto* cancel = new QPushButton(tr("Cancel"));
    row->addStretch();
    row->addWidget(cancel);
    row->addWidget(m_save);
    m_save->setDefault(true);
    connect(cancel, &QPushButton::clicked, this, &SettingsWindow::resetSettingsDraft);
    connect(m_save, &QPushButton::clicked, this, &SettingsWindow::saveSettings);
    m_feedbackTimer.setSingleShot(true);
    connect(&m_feedbackTimer, &QTimer::timeout, this, [this] {
        m_save->setText(tr("Save"));
        m_save->setEnabled(true);
    });
    return footer;
}

int SettingsWindow::paneIndex(const QString& id) const
{
    return int(m_paneIds.indexOf(id));
}

void SettingsWindow::showSettings(const QString& pane, const QRect& panel, const QScreen* screen)
{
    if (paneIndex(pane) >= 0)
        selectSettingsPane(paneIndex(pane));
    if (!isVisible()) {
        resetSettingsDraft();
        placeBeside(panel, screen);
        show();
        setFocus(); // Tab reaches the panes' names from here
        onShown();
    }
    raise();
    activateWindow();
}

void SettingsWindow::placeBeside(const QRect& panel, const QScreen* screen)
{
    const QRect room = screen->availableGeometry();
    const double tall = std::max(
        m_facilities.preferences.real(heightKey).value_or(windowSize.height()), leastTallPane);
    const QSize wanted = QSizeF(windowSize.width() * textScale(), tall * textScale()).toSize();
    resize(wanted.boundedTo(room.size()));
    if (!panel.isValid()) {
        move(room.center() - rect().center());
        return;
    }
    const bool fitsLeft = panel.left() - besideGap - width() >= room.left();
    const int left = fitsLeft ? panel.left() - besideGap - width() : panel.right() + 1 + besideGap;
    move(std::clamp(left, room.left(), std::max(room.left(), room.right() + 1 - width())),
         std::clamp(panel.top(), room.top(), std::max(room.top(), room.bottom() + 1 - height())));
}

void SettingsWindow::selectSettingsPane(int index)
{
    m_sidebar->button(index)->setChecked(true);
    m_stack->setCurrentIndex(index);
}

void SettingsWindow::resetSettingsDraft()
{
    m_draft = SettingsDraft::saved(m_facilities.preferences, m_facilities.registry);
    m_character->resetPreview();
    m_theme = m_facilities.loadTheme();
    for (SettingsPane* pane : std::as_const(m_panes))
        pane->load();
    if (isVisible())
        onPreview();
}

void SettingsWindow::previewSettings()
{
    m_theme.choices = m_draft.choices;
    m_character->load();
    onPreview();
}

void SettingsWindow::saveSettings()
{
    m_accounts->saveAccountKeys();
    m_draft.save(m_facilities.preferences, m_facilities.registry);
    if (const std::optional<QString> fault = m_general->saveLogin()) {
        QMessageBox* box = settingsMessage(this, m_palette, tr("Start at login"), *fault);
        box->addButton(QMessageBox::Ok);
        box->open();
    }
    m_general->load();
    onSaved();
    showSavedFeedback();
}

void SettingsWindow::showSavedFeedback()
{
    m_save->setText(tr("Saved ✓"));
    m_save->setEnabled(false);
    m_feedbackTimer.start(savedFeedback);
}

std::optional<MascotState> SettingsWindow::lowLimitPreview() const
{
    return m_character->lowLimitPreview();
}

void SettingsWindow::animate(double seconds, bool reducedMotion)
{
    const double time = reducedMotion ? 0 : seconds;
    m_character->animate(time, m_draft.lively && !reducedMotion);
}

void SettingsWindow::refreshAccountStatus()
{
    if (isVisible())
        m_accounts->refreshAccountStatus();
}

void SettingsWindow::reloadCharacters()
{
    m_character->reloadCharacters();
}

void SettingsWindow::setColors(const Palette& palette)
{
    m_palette = palette;
    setStyleSheet(settingsStyleSheet(palette));
    for (QAbstractButton* button : m_sidebar->buttons())
        static_cast<SidebarButton*>(button)->setColors(palette);
    for (SettingsPane* pane : std::as_const(m_panes))
        pane->setColors(palette);
}

void SettingsWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    if (isVisible() && event->spontaneous())
        m_facilities.preferences.setReal(heightKey, height() / textScale());
}

void SettingsWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        pressReturn();
    else
        QWidget::keyPressEvent(event);
}

void SettingsWindow::pressReturn()
{
    // Return presses the button that has the keyboard, and saves everywhere else.
    if (auto* button = qobject_cast<QPushButton*>(focusWidget()))
        button->click();
    else if (m_save->isEnabled())
        m_save->click();
}

void SettingsWindow::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    if (event->spontaneous())
        return; // merely out of sight
    m_draft = SettingsDraft::saved(m_facilities.preferences, m_facilities.registry);
    m_character->resetPreview();
    m_theme = m_facilities.loadTheme();
    onClosed();
}
