#pragma once

#include "characters/MascotState.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <functional>
#include <optional>

class PreferenceStore;
class StatusItem;
class UsagePanelView;
struct PixelTheme;

/// Moves the characters: owns their clock and draws the status item's picture.
///
/// Its timers run only while something of Vexlo is open; else the status item stands still, and is
/// drawn again only when its picture changes.
class CharacterDriver : public QObject {
    Q_OBJECT

public:
    static constexpr int animationInterval = 60; // ms
    static constexpr int speechInterval = 80; // ms; one more character is typed

    CharacterDriver(const PreferenceStore& preferences, StatusItem& statusItem,
                    UsagePanelView& panel);

    /// The theme to draw with; it must outlive the driver or its place be taken by another call.
    void setTheme(const PixelTheme* theme);
    /// Whether the desktop asks for less motion.
    void setReducedMotion(bool isReduced);

    /// Starts or stops the timers; stopping leaves a still picture.
    void updateAnimationTimers(bool isOpen);
    [[nodiscard]] bool isRunning() const { return m_timer.isActive(); }

    /// Draws what stands still again, where data have changed its picture.
    void updateStillImages();

    /// One step of the clock; the timer calls it.
    void advanceAnimation();

    /// Lets every character type its line from the start.
    void restartSpeech();
    /// Types on where a line has become longer.
    void continueSpeech();
    /// Types one more character; with reduced motion all that is left. The timer calls it.
    void advanceSpeech();
    /// Moves other characters with the same clock; called at every step, with its time in seconds.
    std::function<void(double seconds)> onStep;
    /// Another speed step (0 to 2) than the saved one, for as long as it is tried out.
    void setSpeedDraft(std::optional<int> step);
    [[nodiscard]] bool isSpeaking() const { return m_speechTimer.isActive(); }

private:
    [[nodiscard]] qint64 menuFrame(MascotState state) const;
    void updateStatusItem(qint64 frame, MascotState state);

    const PreferenceStore& m_preferences;
    StatusItem& m_statusItem;
    UsagePanelView& m_panel;
    const PixelTheme* m_theme = nullptr;
    QTimer m_timer;
    QTimer m_speechTimer;
    double m_animationPhase = 0; // only ever grows
    double m_speed = 1; // of the clock; read when the timer starts
    bool m_reducedMotion = false;
    QString m_lastIconKey;
};
