#include "app/AboutPane.h"

#include "app/AppUpdater.h"
#include "app/Feedback.h"
#include "app/SettingsControls.h"
#include "platform/AddressOpener.h"
#include "platform/CrashReports.h"
#include "platform/Files.h"
#include "platform/TextFonts.h"
#include "today/ToggleSwitch.h"

#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

AboutPane::AboutPane(SettingsDraft& draft, const Facilities& facilities)
    : SettingsPane(draft)
    , m_facilities(facilities)
    , m_automatic(new ToggleSwitch)
    , m_check(new QPushButton(tr("Check for Updates…")))
    , m_crash(new SettingsNote({}))
{
    auto* column = new QVBoxLayout(this);
    const auto addButton = [&](const QString& title, const QString& caption, auto action) {
        auto* button = new QPushButton(title);
        if (!caption.isEmpty())
            button->setToolTip(caption);
        button->setAccessibleDescription(caption);
        connect(button, &QPushButton::clicked, this, action);
        column->addWidget(button, 0, Qt::AlignLeft);
    };
    column->addWidget(new SettingsHeading(tr("ABOUT VEXLO")));
    auto* about
        = new QLabel(tr("Vexlo ") + BuildInfo::current().versionString()
                     + tr("\nAI allowance and Mac health monitor.\nLocal-first. No analytics."));
    about->setFont(textFont(13 * textScale()));
    column->addWidget(about);
    column->addWidget(m_crash);
    m_crash->hide();
    addButton(tr("Show Welcome Again"), {}, [this] { onShowWelcome(); });

    column->addWidget(new SettingsHeading(tr("UPDATES")));
    m_automatic->setEnabled(false); // the system's own setting, which we only show
    column->addWidget(settingsRow(tr("Install updates automatically"),
                                  AppUpdater::automaticInstallsNote(), m_automatic));
    column->addWidget(m_check, 0, Qt::AlignLeft);
    connect(m_check, &QPushButton::clicked, this, &AboutPane::checkForUpdates);

    column->addWidget(new SettingsHeading(tr("BETA FEEDBACK")));
    addButton(tr("Send Feedback…"), tr("Opens a Mail draft with your Vexlo and macOS versions"),
              [this] { sendFeedback(); });
    addButton(tr("Show Crash Reports"),
              tr("Opens the folder where macOS saves reports when an app quits unexpectedly"),
              [this] { showCrashReports(); });
    column->addStretch();
}

void AboutPane::setColors(const Palette& palette)
{
    m_palette = palette;
    m_automatic->setColors(palette);
}

QMessageBox* AboutPane::showMessage(const QString& message, const QString& informativeText)
{
    QMessageBox* box = settingsMessage(this, m_palette, message, informativeText);
    box->addButton(QMessageBox::Ok);
    box->open();
    return box;
}

void AboutPane::tellOfCrash(const QString& path)
{
    m_crash->setText(
        tr("Vexlo quit unexpectedly before this start. The report is in %1").arg(path));
    m_crash->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_crash->show();
}

void AboutPane::checkForUpdates()
{
    m_check->setEnabled(false);
    m_check->setText(tr("Checking…"));
    m_facilities.updater.checkForUpdates([pane = QPointer(this)](const AppUpdater::Report& report) {
        if (!pane)
            return;
        pane->m_check->setEnabled(true);
        pane->m_check->setText(tr("Check for Updates…"));
        QMessageBox* box = pane->showMessage(report.message, report.informativeText);
        if (!report.offersSoftwareCentre)
            return;
        QPushButton* centre
            = box->addButton(AppUpdater::softwareCentreButton(), QMessageBox::ActionRole);
        QObject::connect(centre, &QPushButton::clicked, pane, [pane] {
            pane->m_facilities.opener.open(QUrl(AppUpdater::softwareCentre()), [pane](bool isOpen) {
                const AppUpdater::Report missing = AppUpdater::softwareCentreMissing();
                if (!isOpen && pane)
                    pane->showMessage(missing.message, missing.informativeText);
            });
        });
    });
}

void AboutPane::sendFeedback()
{
    const auto explain = [pane = QPointer(this)](bool isOpen) {
        const Feedback::Alert alert = Feedback::alert();
        if (!isOpen && pane)
            pane->showMessage(alert.message, alert.informativeText);
    };
    if (const std::optional<QUrl> draft = Feedback::mailURL())
        m_facilities.opener.open(*draft, explain);
    else
        explain(false);
}

void AboutPane::showCrashReports()
{
    const QString folder = m_facilities.crashReports.folder();
    makePrivateFolder(folder); // there may have been no crash yet
    m_facilities.opener.open(
        QUrl::fromLocalFile(folder), [pane = QPointer(this), folder](bool isOpen) {
            if (!isOpen && pane)
                pane->showMessage(tr("The folder could not be opened."), folder);
        });
}
