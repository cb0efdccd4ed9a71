#include "app/SidebarButton.h"
#include "app/WelcomeChoices.h"
#include "characters/CharacterChoiceView.h"
#include "characters/CharacterSlotView.h"
#include "panel/UsageCardView.h"
#include "tests/app/TestProgram.h"
#include "tests/support/TestFiles.h"

#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

namespace {

/// The button of `window` with this text.
QPushButton* button(const QWidget* window, const QString& text)
{
    for (auto* each : window->findChildren<QPushButton*>()) {
        if (each->text() == text)
            return each;
    }
    qFatal("no button %s", qPrintable(text));
}

QString namelessControls(const QWidget* window)
{
    QStringList nameless;
    for (const auto* each : window->findChildren<QWidget*>()) {
        if (each->focusPolicy() == Qt::NoFocus || !each->accessibleName().isEmpty()
            || !each->isVisibleTo(window))
            continue;
        const auto* control = qobject_cast<const QAbstractButton*>(each);
        if (!control || control->text().isEmpty())
            nameless.append(QString::fromLatin1(each->metaObject()->className()) + u' '
                            + each->objectName());
    }
    return nameless.join(u", "_s);
}

} // namespace

class SettingsTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir(m_home->path()).mkpath(u"support"_s));
        qputenv("HOME", QFile::encodeName(m_home->path()));
        qputenv("PATH", "/usr/bin:/bin");
        writeFile(m_home->filePath(u"support/claude-usage.json"_s), "{}"); // so its card is shown
        m_program = std::make_unique<Program>(*m_home);
        m_program->delegate.applicationDidFinishLaunching({.background = true});
    }

    void cleanup() { m_program.reset(); }

    void choicesAreTriedOutAndDroppedUnlessSaved()
    {
        SettingsWindow* window = open(u"character"_s);
        auto* panel = m_program->delegate.panelWindow().findChild<UsagePanelView*>();
        const QImage before = panel->grab().toImage();
        slot(window, u"claude"_s)->onActivate();
        choice(window, u"rex"_s)->click();
        QCOMPARE(window->draft().choices.character(u"claude"_s), u"rex"_s);
        QVERIFY(panel->grab().toImage() != before);
        QVERIFY(!m_program->preferences.text(u"cardCharacter.claude"_s));

        button(window, u"Cancel"_s)->click();
        QVERIFY(window->isVisible());
        QCOMPARE(window->draft().choices.character(u"claude"_s), u"claude"_s);
        QCOMPARE(panel->grab().toImage(), before);

        choice(window, u"rex"_s)->click();
        window->close();
        QCOMPARE(panel->grab().toImage(), before);
        QVERIFY(!m_program->preferences.text(u"cardCharacter.claude"_s));

        window = open(u"character"_s);
        choice(window, u"rex"_s)->click();
        auto* save = button(window, u"Save"_s);
        save->click();
        QCOMPARE(m_program->preferences.text(u"cardCharacter.claude"_s), u"rex"_s);
        QCOMPARE(save->text(), u"Saved ✓"_s);
        QVERIFY(!save->isEnabled()); // pressing it twice saves once
        window->close();
        QVERIFY(panel->grab().toImage() != before);
        slot(open(u"character"_s), u"claude"_s)->onReset();
        button(m_program->delegate.settings().window(), u"Cancel"_s)->click();
    }

    void everySettingIsKept()
    {
        SettingsDraft draft = SettingsDraft::saved(m_program->preferences, m_program->registry);
        QCOMPARE(draft.todayOrder.size(), 4);
        draft.speech = false;
        draft.tabCharacters = false;
        draft.showsUsed = true;
        draft.usageTabName = u"Today"_s;
        draft.moveToday(u"codex"_s, -1);
        draft.moveToday(u"calendar"_s, -3); // it is the first already
        draft.enabled[u"notes"_s] = true;
        draft.choices.characters = {{u"menu"_s, u"chip"_s}, {u"claude"_s, u"rex"_s}};
        draft.choices.colorModes = {{u"menu"_s, u"custom"_s}};
        draft.choices.customColors = {{u"menu"_s, QColor(1, 2, 3)}};
        draft.choices.palette = {{u"claude"_s, QColor(4, 5, 6)}, {u"system"_s, QColor(7, 8, 9)}};
        draft.systemMatchesAccent = true;
        draft.animationSpeed = 2;
        draft.lively = false;
        draft.looks = {false, true};
        draft.save(m_program->preferences, m_program->registry);
        PreferenceStore again(m_home->filePath(u"preferences.json"_s));
        const ProviderRegistry registry(again, m_home->filePath(u"support"_s));
        QCOMPARE(SettingsDraft::saved(again, registry), draft);
        QCOMPARE(again.text(u"menuCharacter"_s), u"chip"_s);
        QCOMPARE(again.text(u"characterMotion"_s), u"calm"_s);
        QCOMPARE(again.text(u"palette.character.menu"_s), u"#010203"_s);
        QCOMPARE(again.texts(u"todayOrder"_s),
                 (QStringList{u"calendar"_s, u"notes"_s, u"codex"_s, u"claude"_s}));

        draft.choices = {}; // every default again
        draft.save(m_program->preferences, m_program->registry);
        for (const QString& key : m_program->preferences.keys())
            QVERIFY2(!key.startsWith("palette."_L1) && key != "menuCharacter"_L1, qPrintable(key));
    }

    void everyControlHasAName()
    {
        SettingsWindow* window = open({});
        for (int i = 0; i < window->findChildren<SidebarButton*>().size(); ++i) {
            window->findChildren<SidebarButton*>()[i]->click();
            QCOMPARE(namelessControls(window), QString());
        }
        m_program->delegate.tabs().select(u"clipboard"_s);
        QCOMPARE(namelessControls(&m_program->delegate.panelWindow()), QString());
    }

    void panelStaysWhileSettingsAreOpen()
    {
        SettingsWindow* window = open({});
        auto& panel = m_program->delegate.panelWindow();
        QVERIFY(panel.isVisible());
        QEvent away(QEvent::WindowDeactivate);
        QCoreApplication::sendEvent(&panel, &away);
        QVERIFY(panel.isVisible());
        window->close();
        QCoreApplication::sendEvent(&panel, &away);
        QVERIFY(!panel.isVisible());
        QVERIFY(!m_program->delegate.driver().isRunning());
    }

    void welcomeIsForNewcomersAndOnce()
    {
        m_program.reset();
        writeFile(m_home->filePath(u"preferences.json"_s), "{}");
        const auto start = [this](AppDelegate::Launch launch) {
            m_program = std::make_unique<Program>(*m_home);
            if (!m_isKnown)
                m_program->preferences.remove(u"welcomeDone"_s);
            m_program->delegate.applicationDidFinishLaunching(launch);
            return m_program->delegate.settings().welcome() != nullptr;
        };
        QVERIFY(!start({.background = true})); // at login nothing opens
        QVERIFY(start({}));
        m_isKnown = true;
        QVERIFY(!start({}));
        QVERIFY(start({.background = true, .welcome = true}));
        m_isKnown = false;
    }

    void welcomeStoresWhatWasChosen()
    {
        PreferenceStore& preferences = m_program->preferences;
        ProviderRegistry& registry = m_program->registry;
        QCOMPARE(suggestedToday(true, true), TodayChoice::both);
        QCOMPARE(suggestedToday(false, true), TodayChoice::ai);
        QCOMPARE(suggestedToday(false, false), TodayChoice::calendar);
        saveWelcome({TodayChoice::calendar, u"volt"_s}, preferences, registry);
        QVERIFY(registry.isEnabled(u"calendar"_s) && !registry.isEnabled(u"claude"_s));
        QCOMPARE(preferences.text(u"usageTabName"_s), u"Today"_s);
        QCOMPARE(preferences.text(u"menuCharacter"_s), u"volt"_s);
        saveWelcome({TodayChoice::ai, u"chip"_s}, preferences, registry);
        QVERIFY(!registry.isEnabled(u"calendar"_s) && registry.isEnabled(u"claude"_s));
        QVERIFY(!registry.hasSwitch(u"codex"_s));
    }

private:
    SettingsWindow* open(const QString& pane)
    {
        m_program->delegate.showSettings(pane);
        return m_program->delegate.settings().window();
    }

    static CharacterSlotView* slot(const SettingsWindow* window, const QString& id)
    {
        for (auto* each : window->findChildren<CharacterSlotView*>()) {
            if (each->targetID() == id)
                return each;
        }
        qFatal("no slot %s", qPrintable(id));
    }

    static CharacterChoiceView* choice(const SettingsWindow* window, const QString& id)
    {
        for (auto* each : window->findChildren<CharacterChoiceView*>()) {
            if (each->characterID() == id)
                return each;
        }
        qFatal("no choice %s", qPrintable(id));
    }

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<Program> m_program;
    bool m_isKnown = false;
};

QTEST_MAIN(SettingsTest)
#include "SettingsTest.moc"
