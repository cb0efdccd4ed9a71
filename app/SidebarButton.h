#pragma once

#include "platform/DesktopAppearance.h"

#include <QAbstractButton>
#include <QStringList>

/// One pane's name and pixel icon in the sidebar of the Settings window.
class SidebarButton final : public QAbstractButton {
    Q_OBJECT

public:
    /// `icon` are rows of letters as characters are drawn with; "C" takes the text's colour.
    SidebarButton(const QString& title, QStringList icon, QWidget* parent = nullptr);

    void setColors(const Palette& palette);
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QStringList m_icon;
    Palette m_palette;
};
