#include "app/ToolTabs.h"

#include "characters/SpriteImages.h"
#include "panel/PanelWindow.h"
#include "panel/ReorderableTabBar.h"
#include "platform/DesktopAppearance.h"
#include "platform/TextFonts.h"
#include "today/ClipboardShelfView.h"
#include "today/DemoSystem.h"
#include "today/SystemMetricsView.h"

#include <QLabel>
#include <QShortcut>

using namespace Qt::StringLiterals;

namespace {

constexpr qreal characterSide = 44; // points

} // namespace

ToolTabs::ToolTabs(const Facilities& facilities, PanelWindow& window)
    : m_facilities(facilities)
    , m_window(window)
    , m_sampler(facilities.counters)
    , m_shelf(facilities.clipboardDirectory, facilities.board, facilities.preferences)
{
    m_shelf.onChange = [this] {
        if (m_clipboard)
            m_clipboard->reload();
    };
    connect(&m_sampleTimer, &QTimer::timeout, this, &ToolTabs::sampleNow);
}

void ToolTabs::prepare()
{
    if (m_bar)
        return;
    m_bar = new ReorderableTabBar(m_facilities.preferences);
    m_system = new SystemMetricsView;
    m_clipboard = new ClipboardShelfView(m_shelf);
    m_clipboardCharacter = new QLabel(m_clipboard);
    m_clipboardCharacter->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_bar->onSelect = [this](const QString& tab) { tabSelected(tab); };
    m_window.setTabBar(m_bar);
    m_window.addPage(systemTab, m_system);
    m_window.addPage(clipboardTab, m_clipboard);
    addShortcuts();
    if (m_applyLook)
        m_applyLook();
}

void ToolTabs::addShortcuts()
{
    const auto add = [this](const QKeySequence& keys, auto action) {
        connect(new QShortcut(keys, &m_window), &QShortcut::activated, this, action);
    };
    add(QKeySequence(Qt::CTRL | Qt::Key_Tab), [this] { m_bar->selectNext(); });
    add(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Tab), [this] { m_bar->selectNext(-1); });
    add(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Right), [this] { m_bar->moveSelected(1); });
    add(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Left), [this] { m_bar->moveSelected(-1); });
    for (int i = 0; i < int(m_bar->order().size()); ++i)
        add(QKeySequence(Qt::CTRL | Qt::Key(Qt::Key_1 + i)), [this, i] { m_bar->selectAt(i); });
}

QString ToolTabs::selected() const
{
    return m_bar ? m_bar->selectedID() : usageTab;
}

void ToolTabs::select(const QString& tab)
{
    prepare();
    m_bar->select(tab);
}

void ToolTabs::reloadName()
{
    if (m_bar)
        m_bar->reloadName();
}

void ToolTabs::tabSelected(const QString& tab)
{
    if (tab == clipboardTab)
        m_clipboard->reload();
    m_window.showPage(tab);
    updateTimer();
    sampleNow();
    m_lastTabCharacterKey.clear();
    onTabChange();
    if (tab == clipboardTab)
        m_clipboard->setFocus();
}

void ToolTabs::setShown(bool isShown)
{
    m_isShown = isShown;
    updateTimer();
    if (isShown)
        sampleNow();
    if (!isShown || selected() != clipboardTab)
        return;
    m_clipboard->reload();
    // Once the window has taken the keyboard for itself, so that typing filters at once.
    QTimer::singleShot(0, m_clipboard, qOverload<>(&QWidget::setFocus));
}

void ToolTabs::updateTimer()
{
    if (m_isShown && selected() == systemTab)
        m_sampleTimer.start(sampleInterval);
    else
        m_sampleTimer.stop();
}

void ToolTabs::takeFirstSample()
{
    if (!m_facilities.isDemo)
        (void)m_sampler.sample();
}

void ToolTabs::sampleNow()
{
    if (m_system && selected() == systemTab)
        m_system->setMetrics(m_facilities.isDemo ? Demo::system() : m_sampler.sample());
}

void ToolTabs::setColors(const Palette& palette)
{
    m_applyLook = [this, palette] {
        m_bar->setColors(palette);
        m_system->setColors(palette);
        m_clipboard->setColors(palette);
    };
    if (m_bar)
        m_applyLook();
}

void ToolTabs::setAccent(const QColor& color)
{
    if (m_system)
        m_system->setAccentColor(color);
}

void ToolTabs::setTheme(const PixelTheme* theme)
{
    m_theme = theme;
    m_lastTabCharacterKey.clear();
}

void ToolTabs::updateTabCharacter(double seconds, bool lively, bool showsCharacters)
{
    const QString tab = selected();
    if (!m_bar || tab == usageTab)
        return;
    if (!showsCharacters || !m_theme) {
        m_lastTabCharacterKey.clear();
        showCharacter({});
        return;
    }
    const QString id = m_theme->choices.character(tab);
    const CharacterPicture picture{.character = id,
                                   .frame = m_theme->frameIndex(id, seconds, lively),
                                   .color = m_theme->characterColor(tab),
                                   .size = characterSide * textScale(),
                                   .pixelRatio = m_window.devicePixelRatioF(),
                                   .lively = lively};
    const QString rows = m_theme->characterRows(id, picture.frame, lively).join(u'/');
    const QString key
        = u"%1 %2 %3 %4"_s.arg(id, picture.color.name(), rows, QString::number(picture.pixelRatio));
    if (key == m_lastTabCharacterKey)
        return;
    m_lastTabCharacterKey = key;
    showCharacter(characterImage(*m_theme, picture));
}

void ToolTabs::showCharacter(const QImage& image)
{
    if (selected() == systemTab) {
        m_system->setCharacter(image);
        return;
    }
    m_clipboardCharacter->setGeometry(m_clipboard->characterPlace());
    m_clipboardCharacter->setPixmap(QPixmap::fromImage(image));
}
