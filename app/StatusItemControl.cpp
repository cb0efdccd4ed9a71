#include "app/StatusItemControl.h"

#include "platform/StatusItem.h"
#include "usage/UsageTexts.h"

using namespace Qt::StringLiterals;

namespace {

namespace MenuId {
const QString open = u"open"_s;
const QString refresh = u"refresh"_s;
const QString settings = u"settings"_s;
const QString quit = u"quit"_s;
} // namespace MenuId

} // namespace

StatusItemControl::StatusItemControl(StatusItem& item, Actions actions)
    : m_item(item)
    , m_actions(std::move(actions))
{
    m_hostTimer.setSingleShot(true);
    connect(&m_hostTimer, &QTimer::timeout, this, [this] {
        if (!m_item.isShown())
            onNoHost();
    });
}

void StatusItemControl::configure()
{
    m_item.setMenu({{.id = MenuId::open, .label = tr("Open Vexlo")},
                    {.id = MenuId::refresh, .label = tr("Refresh now")},
                    {.id = MenuId::settings, .label = tr("Settings…")},
                    {.isSeparator = true},
                    {.id = MenuId::quit, .label = tr("Quit")}});
    m_item.onActivated = [this](const StatusActivation& click) { m_actions.toggle(click.place); };
    m_item.onMenuEntry = [this](const QString& entry) { choose(entry); };
    m_item.onShownChanged = [this] {
        if (m_item.isShown())
            m_hostTimer.stop();
    };
}

void StatusItemControl::choose(const QString& entry)
{
    if (entry == MenuId::open)
        m_actions.open();
    else if (entry == MenuId::refresh)
        m_actions.refresh();
    else if (entry == MenuId::settings)
        m_actions.settings();
    else if (entry == MenuId::quit)
        m_actions.quit();
}

void StatusItemControl::showTexts(const QList<ServiceUsage>& services, UsageDisplayMode mode)
{
    const QString tightest = tightestLimitText(services, mode, QLocale());
    m_item.setTitle(tightest.isEmpty() ? u"Vexlo"_s : "Vexlo: "_L1 + tightest);
    m_item.setToolTip(u"Vexlo"_s, tightest.isEmpty() ? tr("No limits are known yet") : tightest);
}

void StatusItemControl::awaitHost(std::chrono::milliseconds patience)
{
    m_hostTimer.start(patience);
}

bool StatusItemControl::isShown() const
{
    return m_item.isShown();
}
