#pragma once

#include "today/SystemDashboard.h"

#include <QImage>
#include <QWidget>

/// The System tab: the latest figures as cards, and the last rates as two graphs.
///
/// Draws what it is given; only what has changed is painted again. It can be reached by keyboard
/// and tells a screen reader what it says.
class SystemMetricsView : public QWidget {
    Q_OBJECT

public:
    explicit SystemMetricsView(QWidget* parent = nullptr);

    /// Shows `metrics` and adds its rates to the histories, of which the last 24 are kept.
    void setMetrics(const SystemMetrics& metrics);
    /// The colour of what is well. It is changed where it would be lost on a card.
    void setAccentColor(const QColor& color);
    void setColors(const Palette& palette);
    /// Shows `image` at the top right; only its place is painted again. A null one shows none.
    void setCharacter(const QImage& image);

    [[nodiscard]] const SystemMetrics& metrics() const { return m_metrics; }
    [[nodiscard]] const QList<quint64>& downloadHistory() const { return m_histories.download; }
    [[nodiscard]] const QList<quint64>& uploadHistory() const { return m_histories.upload; }
    /// The side of the character's place in widget coordinates, as the desktop's text size has it.
    [[nodiscard]] static qreal characterSide();
    [[nodiscard]] QSize sizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void layOut();
    void updateChanged(const Dashboard& before);
    [[nodiscard]] static QRect scaled(const QRectF& points);

    SystemMetrics m_metrics;
    RateHistories m_histories;
    Dashboard m_dashboard;
    DashboardLayout m_layout;
    QColor m_accent;
    Palette m_palette;
    DashboardColors m_colors;
    QImage m_character;
};
