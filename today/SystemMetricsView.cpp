#include "today/SystemMetricsView.h"

#include "platform/TextFonts.h"

#include <QEvent>
#include <QPaintEvent>
#include <QPainter>

#include <cmath>

namespace {

/// Appends `rate` and says whether that changes the graph.
bool remember(QList<quint64>& history, quint64 rate)
{
    const QList<quint64> before = history;
    history.append(rate);
    if (history.size() > RateHistories::capacity)
        history.removeFirst();
    return history != before;
}

} // namespace

SystemMetricsView::SystemMetricsView(QWidget* parent)
    : QWidget(parent)
    , m_dashboard(dashboard({}))
{
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(tr("System"));
    layOut();
}

qreal SystemMetricsView::characterSide()
{
    return DashboardStyle().characterSide * textScale();
}

void SystemMetricsView::setMetrics(const SystemMetrics& metrics)
{
    m_metrics = metrics;
    if (metrics.knowsRates) {
        const bool downloadChanged = remember(m_histories.download, metrics.downloadRate);
        const bool uploadChanged = remember(m_histories.upload, metrics.uploadRate);
        if (downloadChanged || uploadChanged)
            update(scaled(m_layout.network));
    }
    const Dashboard before = std::exchange(m_dashboard, dashboard(metrics));
    if (m_dashboard == before)
        return;
    setAccessibleDescription(m_dashboard.spoken());
    if (m_dashboard.halves.size() != before.halves.size())
        layOut();
    else
        updateChanged(before);
}

void SystemMetricsView::updateChanged(const Dashboard& before)
{
    const auto compare = [this](const QList<MetricCard>& now, const QList<MetricCard>& old,
                                const QList<QRectF>& places) {
        for (qsizetype i = 0; i < now.size(); ++i) {
            if (now[i] != old[i])
                update(scaled(places[i]));
        }
    };
    compare(m_dashboard.rows, before.rows, m_layout.rows);
    compare(m_dashboard.halves, before.halves, m_layout.halves);
    if (m_dashboard.address != before.address)
        update(scaled(m_layout.network));
}

void SystemMetricsView::setAccentColor(const QColor& color)
{
    m_accent = color;
    m_colors = dashboardColors(m_palette, m_accent);
    update();
}

void SystemMetricsView::setColors(const Palette& palette)
{
    m_palette = palette;
    m_colors = dashboardColors(m_palette, m_accent);
    update();
}

void SystemMetricsView::setCharacter(const QImage& image)
{
    m_character = image;
    update(scaled(m_layout.character));
}

void SystemMetricsView::layOut()
{
    m_layout = dashboardLayout(m_dashboard);
    setFixedHeight(sizeHint().height());
    updateGeometry();
    update();
}

QSize SystemMetricsView::sizeHint() const
{
    const double scale = textScale();
    return {int(std::ceil(DashboardStyle().width * scale)),
            int(std::ceil(m_layout.height * scale))};
}

QRect SystemMetricsView::scaled(const QRectF& points)
{
    const double scale = textScale();
    return QRectF(points.topLeft() * scale, points.size() * scale).toAlignedRect();
}

bool SystemMetricsView::event(QEvent* event)
{
    // Another font of the desktop's changes every measure.
    if (event->type() == QEvent::ApplicationFontChange || event->type() == QEvent::FontChange)
        layOut();
    return QWidget::event(event);
}

void SystemMetricsView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    const QRect character = scaled(m_layout.character);
    if (character.contains(event->rect())) {
        // One more frame of the character: there is nothing but the card's ground around it.
        painter.fillRect(event->rect(), m_colors.palette.cardBackground);
    } else {
        const double scale = textScale();
        painter.scale(scale, scale);
        painter.setClipRect(
            QRectF(QPointF(event->rect().topLeft()) / scale, QSizeF(event->rect().size()) / scale));
        drawDashboard(painter, m_dashboard, m_histories, m_layout, m_colors, hasFocus());
        painter.resetTransform();
        painter.setClipping(false);
    }
    painter.drawImage(character.topLeft(), m_character);
}
