#pragma once

#include "platform/DesktopAppearance.h"

#include <QAbstractButton>

/// A switch: on or off at once, by click, Space or Enter. Its accessible name is the caller's
/// matter.
class ToggleSwitch final : public QAbstractButton {
    Q_OBJECT

public:
    explicit ToggleSwitch(QWidget* parent = nullptr);

    void setColors(const Palette& palette);
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    Palette m_palette;
};
