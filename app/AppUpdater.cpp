#include "app/AppUpdater.h"

using namespace Qt::StringLiterals;

AppUpdater::AppUpdater(Updates& updates)
    : m_updates(updates)
{
}

bool AppUpdater::canCheckForUpdates() const
{
    return m_updates.canCheck();
}

void AppUpdater::checkForUpdates(std::function<void(const Report&)> done)
{
    if (!canCheckForUpdates()) {
        done({tr("Vexlo cannot look for updates here"),
              tr("This system has no package service to ask. Vexlo is updated the way it was "
                 "installed: with your package manager, or by building the newer sources."),
              false});
        return;
    }
    m_updates.check([done = std::move(done)](const UpdateCheck& check) { done(report(check)); });
}

AppUpdater::Report AppUpdater::report(const UpdateCheck& check)
{
    switch (check.result) {
    case UpdateCheck::Result::upToDate:
        return {tr("Vexlo is up to date"), tr("Your system's packages have no newer version."),
                false};
    case UpdateCheck::Result::available:
        return {
            tr("A newer Vexlo is available"),
            tr("Version %1 can be installed with your system's other updates.").arg(check.version),
            true};
    case UpdateCheck::Result::notFromPackage:
        return {tr("This Vexlo did not come from a package"),
                tr("It is updated by building the newer sources, or by installing the package of "
                   "your system."),
                false};
    case UpdateCheck::Result::failed:
        break;
    }
    return {tr("Updates could not be checked"),
            tr("Your system's package service gave no answer. Your software centre may tell more."),
            true};
}

QString AppUpdater::softwareCentre()
{
    return u"appstream://dev.gridwell.Vexlo"_s;
}

AppUpdater::Report AppUpdater::softwareCentreMissing()
{
    return {tr("No software centre opened"),
            tr("Install updates with your system's package manager."), false};
}

QString AppUpdater::automaticInstallsNote()
{
    return tr("Your system decides whether updates install by themselves.");
}

QString AppUpdater::softwareCentreButton()
{
    return tr("Show in Software Centre");
}
