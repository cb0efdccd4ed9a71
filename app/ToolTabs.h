#pragma once

#include "characters/PixelTheme.h"
#include "today/ClipboardShelf.h"
#include "today/SystemMetricsSampler.h"

#include <QObject>
#include <QTimer>

#include <chrono>

class ClipboardShelfView;
class PanelWindow;
class QLabel;
class ReorderableTabBar;
class SystemMetricsView;
struct Palette;

/// The tab bar and the tabs beside the usage: System and Clipboard.
///
/// Their views are made when the panel is first shown, so that a program that only sits in the bar
/// does not pay for them. The system is sampled only while its tab is in sight.
class ToolTabs : public QObject {
    Q_OBJECT

public:
    static inline const QString usageTab = QStringLiteral("usage");
    static inline const QString systemTab = QStringLiteral("system");
    static inline const QString clipboardTab = QStringLiteral("clipboard");
    static constexpr std::chrono::seconds sampleInterval{2};

    /// What the tabs work with; everything outlives them.
    struct Facilities {
        PreferenceStore& preferences;
        const SystemCounters& counters;
        ClipboardBoard& board;
        QString clipboardDirectory;
        bool isDemo = false; // made-up figures
    };

    ToolTabs(const Facilities& facilities, PanelWindow& window);

    /// Makes the views, unless they are there. Before the panel is shown.
    void prepare();
    [[nodiscard]] QString selected() const;
    void select(const QString& tab);
    /// Reads the user's name for the usage tab again.
    void reloadName();

    void setColors(const Palette& palette);
    /// The colour of what is well on the System tab.
    void setAccent(const QColor& color);
    /// The theme must outlive the tabs, or its place be taken by another call.
    void setTheme(const PixelTheme* theme);
    /// The panel is in sight or not: samples now and then while the System tab is.
    void setShown(bool isShown);
    /// Takes the sample that the first one shown is compared with.
    void takeFirstSample();
    /// Samples the system at once if its tab is selected.
    void sampleNow();
    /// Shows the tab's character at `seconds` of its clock, or none when that is not wanted.
    void updateTabCharacter(double seconds, bool lively, bool showsCharacters);

    /// Called after another tab was selected.
    std::function<void()> onTabChange;

private:
    void addShortcuts();
    void tabSelected(const QString& tab);
    void updateTimer();
    void showCharacter(const QImage& image);

    Facilities m_facilities;
    PanelWindow& m_window;
    SystemMetricsSampler m_sampler;
    ClipboardShelf m_shelf;
    ReorderableTabBar* m_bar = nullptr; // these belong to the window
    SystemMetricsView* m_system = nullptr;
    ClipboardShelfView* m_clipboard = nullptr;
    QLabel* m_clipboardCharacter = nullptr;
    const PixelTheme* m_theme = nullptr;
    std::function<void()> m_applyLook; // colours that came before the views
    QTimer m_sampleTimer;
    bool m_isShown = false;
    QString m_lastTabCharacterKey;
};
