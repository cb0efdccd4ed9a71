#pragma once

#include "characters/PixelTheme.h"
#include "platform/DesktopAppearance.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>

class SpeechFont;
class WelcomeView;

/// What the Today card shows.
enum class TodayChoice { calendar, ai, both };

/// The choice as stored text: its own name.
[[nodiscard]] QString rawValue(TodayChoice choice);

/// Greets a newcomer and asks what Today shows and which character lives in the menu bar.
class WelcomeController : public QObject {
    Q_OBJECT

public:
    static constexpr int frameInterval = 150; // ms

    struct Result {
        TodayChoice today = TodayChoice::calendar;
        QString menuCharacter; // id

        bool operator==(const Result&) const = default;
    };

    /// `speech` writes the title and must outlive this; `suggested` is chosen to begin with.
    /// `onFinish` is called after Start, once the window is closed, and never when the user closes
    /// it otherwise. It may delete this.
    WelcomeController(PixelTheme theme, const SpeechFont& speech, TodayChoice suggested,
                      std::function<void(const Result& result)> onFinish);
    ~WelcomeController() override;

    void setColors(const Palette& palette);
    /// Whether characters play their lively loops, and whether nothing may move at all.
    void setMotion(bool isLively, bool isReduced);
    /// Says how the user gets a status bar to live in; empty says nothing.
    void setTrayHint(const QString& text);

    /// Opens the window in the middle of the screen, or brings it to the front.
    void show();
    /// One step of the characters' clock.
    void animate();
    /// Closes the window and hands the choices over. Nothing when it is closed.
    void finish();
    [[nodiscard]] bool isOpen() const;
    /// The window while it is open, else null.
    [[nodiscard]] QWidget* window() const;

    /// Draws the window into a PNG file without showing it. False when that cannot be written.
    bool writePreview(const QString& path);

private:
    void buildWindow();
    void windowWillClose();
    void chooseToday(TodayChoice choice);
    void chooseBuddy(const QString& id);
    void showChoices();
    void say(const QString& text);
    void draw();
    void updateTimer();

    PixelTheme m_theme;
    const SpeechFont& m_speech;
    TodayChoice m_today;
    QString m_buddy;
    std::function<void(const Result& result)> m_onFinish;
    Palette m_palette;
    bool m_isLively = false;
    bool m_isReduced = false;
    QString m_trayHint;
    qint64 m_tick = 0;
    QTimer m_timer;
    std::unique_ptr<WelcomeView> m_view;
};
