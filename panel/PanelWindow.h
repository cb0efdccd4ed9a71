#pragma once

#include "platform/DesktopAppearance.h"

#include <QHash>
#include <QWidget>

#include <functional>
#include <optional>

class QLabel;
class QPushButton;
class QScrollArea;
class QVBoxLayout;

/// The window around the panel: a popover beside the status item, or an ordinary window where the
/// desktop has no place for status items.
///
/// As a popover it closes when the user turns elsewhere, unless told to stay. Escape closes it.
class PanelWindow : public QWidget {
    Q_OBJECT

public:
    PanelWindow();
    ~PanelWindow() override;

    /// Takes `page`, which tells its height by its size hint, for the window's scrolling middle.
    /// The first page is shown at once.
    void addPage(const QString& id, QWidget* page);
    void showPage(const QString& id);
    [[nodiscard]] QString page() const { return m_page; }
    /// Puts `bar` above the pages.
    void setTabBar(QWidget* bar);
    /// Offers "Settings…" in the footer and by key, which calls `onSettings`.
    void offerSettings();

    /// Shows it as a popover for a status item. `anchor` is where that was clicked, if known.
    void showPopover(std::optional<QPoint> anchor);
    /// Shows it as an ordinary window with `explanation` at its top.
    void showAsWindow(const QString& explanation);
    /// Whether it was hidden at most a blink ago by the user turning elsewhere: a click on the
    /// status item does that before it arrives.
    [[nodiscard]] bool wasJustHidden() const;

    /// Whether a popover closes when the user turns elsewhere. True at first.
    void setTransient(bool isTransient) { m_isTransient = isTransient; }
    void setColors(const Palette& palette);
    /// Fits the window to its content, which has changed.
    void fitContent();
    void scrollToTop();

    std::function<void()> onShown;
    std::function<void()> onClosed; // hidden in whatever way
    std::function<void()> onWindowClosed; // the ordinary window, by the user
    std::function<void()> onRefresh;
    std::function<void()> onSettings;
    std::function<void()> onQuit;

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void addShortcuts();
    void insertPage();
    void place();
    [[nodiscard]] QSize wantedSize() const;
    [[nodiscard]] QScreen* targetScreen() const;

    QVBoxLayout* m_column = nullptr;
    QHash<QString, QWidget*> m_pages; // the one shown belongs to the scroll area
    QString m_page;
    QScrollArea* m_scrollArea = nullptr;
    QLabel* m_explanation = nullptr;
    QPushButton* m_refresh = nullptr;
    QPushButton* m_settings = nullptr;
    Palette m_palette;
    std::optional<QPoint> m_anchor;
    bool m_isPopover = true;
    bool m_isTransient = true;
    qint64 m_hiddenAt = 0; // milliseconds of a clock that never goes back
};
