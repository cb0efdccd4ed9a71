#pragma once

#include <QWidget>

/// Takes `widget` out of sight now and away once nothing of it is at work any more: it may be the one
/// whose handler led here.
inline void retire(QWidget* widget)
{
    widget->hide();
    widget->deleteLater();
}
