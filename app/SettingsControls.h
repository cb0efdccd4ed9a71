#pragma once

#include "platform/DesktopAppearance.h"

#include <QAbstractButton>
#include <QLabel>
#include <QList>
#include <QWidget>

#include <functional>

class QButtonGroup;
class QMessageBox;
class ToggleSwitch;

// What the panes of the Settings window are made of.

/// A small heading in capitals.
class SettingsHeading final : public QLabel {
    Q_OBJECT

public:
    explicit SettingsHeading(const QString& text, QWidget* parent = nullptr);
};

/// A text beside or below a control, in the second colour.
class SettingsNote final : public QLabel {
    Q_OBJECT

public:
    explicit SettingsNote(const QString& text, QWidget* parent = nullptr);
};

/// A title with a caption at the left, either of which may be empty, and a control at the right,
/// which takes them as its accessible name and description.
[[nodiscard]] QWidget* settingsRow(const QString& title, const QString& caption, QWidget* control);

/// One of a few choices, side by side. Arrow keys move between them.
class SegmentedControl final : public QWidget {
    Q_OBJECT

public:
    explicit SegmentedControl(const QStringList& titles, QWidget* parent = nullptr);

    /// An index outside counts as the nearest end.
    void setSelected(int index);
    [[nodiscard]] int selected() const;
    void setAccessibleTitle(const QString& title);

    std::function<void(int index)> onSelect; // by the user

private:
    QButtonGroup* m_group;
    QStringList m_titles;
};

/// A colour that a click lets the user pick.
class ColorWell final : public QAbstractButton {
    Q_OBJECT

public:
    explicit ColorWell(QWidget* parent = nullptr);

    void setColors(const Palette& palette);
    void setColor(const QColor& color);
    [[nodiscard]] QColor color() const { return m_color; }
    [[nodiscard]] QSize sizeHint() const override;

    std::function<void(const QColor& color)> onPick;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void pick();

    QColor m_color;
    Palette m_palette;
};

/// A message without buttons yet, in our colours; it removes itself when it is closed. To be opened
/// by the caller.
[[nodiscard]] QMessageBox* settingsMessage(QWidget* parent, const Palette& palette,
                                           const QString& message, const QString& informativeText);

/// The look of everything in a Settings or dialog window that our own classes do not draw.
[[nodiscard]] QString settingsStyleSheet(const Palette& palette);
