#include "panel/WelcomeWindow.h"

#include "panel/WelcomeView.h"

#include <QImage>
#include <QScreen>

#include <algorithm>
#include <array>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr int typedPerStep = 2; // characters

struct TodayTile {
    TodayChoice choice;
    QLatin1StringView value;
    QLatin1StringView character;
    const char* title; // untranslated
    const char* answer; // what the buddy says to it, untranslated
};

constexpr std::array todayTiles{
    TodayTile{TodayChoice::calendar, "calendar"_L1, "calendar"_L1,
              QT_TRANSLATE_NOOP("WelcomeController", "Calendar"),
              QT_TRANSLATE_NOOP("WelcomeController", "I'll watch your day.")},
    TodayTile{TodayChoice::ai, "ai"_L1, "claude"_L1,
              QT_TRANSLATE_NOOP("WelcomeController", "AI limits"),
              QT_TRANSLATE_NOOP("WelcomeController", "I'll watch your limits.")},
    TodayTile{TodayChoice::both, "both"_L1, "vexlo"_L1,
              QT_TRANSLATE_NOOP("WelcomeController", "Both"),
              QT_TRANSLATE_NOOP("WelcomeController", "I'll watch both.")},
};

struct Buddy {
    QLatin1StringView character;
    const char* name; // untranslated
};

constexpr std::array buddies{
    Buddy{"vexlo"_L1, QT_TRANSLATE_NOOP("WelcomeController", "Vexlo")},
    Buddy{"chip"_L1, QT_TRANSLATE_NOOP("WelcomeController", "Chip")},
    Buddy{"volt"_L1, QT_TRANSLATE_NOOP("WelcomeController", "Volt")},
    Buddy{"ping"_L1, QT_TRANSLATE_NOOP("WelcomeController", "Ping")},
    Buddy{"mochi"_L1, QT_TRANSLATE_NOOP("WelcomeController", "Mochi")},
};

int indexOf(TodayChoice choice)
{
    return int(std::ranges::find(todayTiles, choice, &TodayTile::choice) - todayTiles.begin());
}

int indexOf(const QString& buddy)
{
    return int(std::ranges::find(buddies, buddy, &Buddy::character) - buddies.begin());
}

} // namespace

QString rawValue(TodayChoice choice)
{
    return todayTiles.at(size_t(indexOf(choice))).value;
}

WelcomeController::WelcomeController(PixelTheme theme, const SpeechFont& speech,
                                     TodayChoice suggested,
                                     std::function<void(const Result& result)> onFinish)
    : m_theme(std::move(theme))
    , m_speech(speech)
    , m_today(suggested)
    , m_buddy(buddies.front().character)
    , m_onFinish(std::move(onFinish))
    , m_palette(paletteFor(ColorScheme::light))
{
    m_timer.setInterval(frameInterval);
    connect(&m_timer, &QTimer::timeout, this, &WelcomeController::animate);
}

WelcomeController::~WelcomeController() = default;

void WelcomeController::buildWindow()
{
    std::vector<WelcomeView::Choice> today;
    for (const TodayTile& tile : todayTiles)
        today.push_back({tile.character, tr(tile.title)});
    std::vector<WelcomeView::Choice> menu;
    for (const Buddy& buddy : buddies)
        menu.push_back({buddy.character, tr(buddy.name)});
    m_view = std::make_unique<WelcomeView>(m_speech, today, menu);
    m_view->setColors(m_palette);
    m_view->setHint(m_trayHint);
    m_view->onToday = [this](int index) { chooseToday(todayTiles.at(size_t(index)).choice); };
    m_view->onBuddy = [this](int index) { chooseBuddy(buddies.at(size_t(index)).character); };
    m_view->onStart = [this] {
        // Not from within the button: it may be gone afterwards.
        QMetaObject::invokeMethod(this, &WelcomeController::finish, Qt::QueuedConnection);
    };
    connect(m_view.get(), &QDialog::finished, this, &WelcomeController::windowWillClose);
    m_tick = 0;
    showChoices();
    say(tr("Hi! I'm %1.").arg(tr(buddies.at(size_t(indexOf(m_buddy))).name)));
    draw();
}

void WelcomeController::show()
{
    if (!isOpen()) {
        buildWindow();
        const QRect room = m_view->screen()->availableGeometry();
        m_view->move(room.center() - m_view->rect().center());
    }
    m_view->show();
    m_view->raise();
    m_view->activateWindow();
    draw(); // the window's screen may be a finer one
    updateTimer();
}

bool WelcomeController::isOpen() const
{
    return m_view && m_view->isVisible();
}

QWidget* WelcomeController::window() const
{
    return isOpen() ? m_view.get() : nullptr;
}

void WelcomeController::updateTimer()
{
    if (isOpen() && !m_isReduced)
        m_timer.start();
    else
        m_timer.stop();
}

void WelcomeController::windowWillClose()
{
    m_timer.stop();
}

void WelcomeController::animate()
{
    ++m_tick;
    if (!m_view)
        return;
    m_view->typeOn(typedPerStep);
    draw();
}

void WelcomeController::draw()
{
    const double seconds = m_isReduced ? 0 : double(m_tick) * frameInterval / 1000;
    m_view->animate(m_theme, m_buddy, {.seconds = seconds, .lively = m_isLively && !m_isReduced});
}

void WelcomeController::say(const QString& text)
{
    m_view->say(text);
    if (m_isReduced)
        m_view->typeOn(std::numeric_limits<int>::max());
}

void WelcomeController::chooseToday(TodayChoice choice)
{
    m_today = choice;
    showChoices();
    say(tr(todayTiles.at(size_t(indexOf(choice))).answer));
}

void WelcomeController::chooseBuddy(const QString& id)
{
    m_buddy = id;
    m_tick = 0; // it begins to move when it comes
    showChoices();
    say(tr("Hi! I'm %1.").arg(tr(buddies.at(size_t(indexOf(id))).name)));
    draw();
}

void WelcomeController::showChoices()
{
    m_view->setPicked(indexOf(m_today), indexOf(m_buddy));
}

void WelcomeController::setColors(const Palette& palette)
{
    m_palette = palette;
    if (m_view)
        m_view->setColors(palette);
}

void WelcomeController::setMotion(bool isLively, bool isReduced)
{
    m_isLively = isLively;
    m_isReduced = isReduced;
    if (!m_view)
        return;
    if (isReduced)
        m_view->typeOn(std::numeric_limits<int>::max());
    draw();
    updateTimer();
}

void WelcomeController::setTrayHint(const QString& text)
{
    m_trayHint = text;
    if (m_view)
        m_view->setHint(text);
}

void WelcomeController::finish()
{
    if (!isOpen())
        return;
    m_view->accept();
    const auto onFinish = m_onFinish; // this may be gone while it runs
    if (onFinish)
        onFinish({.today = m_today, .menuCharacter = m_buddy});
}

bool WelcomeController::writePreview(const QString& path)
{
    if (!m_view)
        buildWindow();
    m_view->typeOn(std::numeric_limits<int>::max());
    QImage image(m_view->size() * m_view->devicePixelRatioF(), QImage::Format_RGB32);
    image.setDevicePixelRatio(m_view->devicePixelRatioF());
    image.fill(m_palette.windowBackground);
    m_view->render(&image);
    return image.save(path, "PNG");
}
