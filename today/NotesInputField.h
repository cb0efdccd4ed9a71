#pragma once

#include "platform/DesktopAppearance.h"

#include <QLineEdit>

/// A one-line field for a task's text, which it keeps within what a task may have.
class NotesInputField : public QLineEdit {
public:
    explicit NotesInputField(QWidget* parent = nullptr);

    void setColors(const Palette& palette);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    Palette m_palette;
};
