#include "panel/ReorderableTabBar.h"

#include "platform/PreferenceStore.h"
#include "platform/TextFonts.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

namespace Key {
constexpr auto order = "panelTabOrder"_L1;
constexpr auto usageName = "usageTabName"_L1;
} // namespace Key

constexpr auto usageTab = "usage"_L1;
constexpr auto systemTab = "system"_L1;
constexpr auto clipboardTab = "clipboard"_L1;

/// Sizes of the bar in points.
struct TabBarStyle {
    QSizeF size{316, 28};
    qreal radius = 8;
    qreal inset = 2; // from the bar's edge to the selected tab
    qreal tabRadius = 6;
    qreal padding = 8; // from a tab's edge to its title
    qreal titleSize = 13;
    double trackAlpha = 0.05; // of the label colour
    double selectedAlpha = 0.13;
    qreal focusWidth = 2;
};

/// The stored order without unknown and repeated tabs; those that it lacks come last.
QStringList completeOrder(const QStringList& stored)
{
    const QStringList known{usageTab, systemTab, clipboardTab};
    QStringList order;
    for (const QString& id : stored + known) {
        if (known.contains(id) && !order.contains(id))
            order.append(id);
    }
    return order;
}

QFont titleFont()
{
    return textFont(TabBarStyle().titleSize, QFont::Medium);
}

QRectF tabRect(QSizeF bar, qsizetype count, qsizetype index)
{
    const qreal width = bar.width() / qreal(count);
    return {width * qreal(index), 0, width, bar.height()};
}

/// `title` on one line, cut to what fits into a tab in points.
QString fittingTitle(const QString& title, const QRectF& tab, const TabBarStyle& style = {})
{
    return QFontMetricsF(titleFont())
        .elidedText(title.simplified(), Qt::ElideRight, tab.width() - 2 * style.padding);
}

QColor faded(QColor color, double alpha)
{
    color.setAlphaF(float(alpha));
    return color;
}

void drawTitle(QPainter& painter, const QRectF& tab, const QString& title, const QColor& color)
{
    const bool runsLeft = title.isRightToLeft();
    painter.setLayoutDirection(runsLeft ? Qt::RightToLeft : Qt::LeftToRight);
    painter.setPen(color);
    painter.drawText(tab, int(Qt::AlignCenter) | Qt::TextSingleLine, fittingTitle(title, tab));
}

} // namespace

ReorderableTabBar::ReorderableTabBar(PreferenceStore& preferences, QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
    , m_order(completeOrder(preferences.texts(Key::order).value_or(QStringList())))
    , m_selectedID(usageTab)
{
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setToolTip(tr("Drag tabs to change their order"));
    setAccessibleName(tr("Tabs"));
    updateSize();
    reloadName();
}

QString ReorderableTabBar::defaultUsageName()
{
    return tr("AI Usage");
}

void ReorderableTabBar::reloadName()
{
    const QString stored = m_preferences.text(Key::usageName).value_or(QString()).trimmed();
    m_usageName = stored.isEmpty() ? defaultUsageName() : stored;
    describe();
}

QString ReorderableTabBar::title(const QString& id) const
{
    if (id == usageTab)
        return m_usageName;
    return id == systemTab ? tr("System") : tr("Clipboard");
}

void ReorderableTabBar::describe()
{
    QStringList titles;
    for (const QString& id : m_order)
        titles.append(id == m_selectedID ? tr("%1 (selected)").arg(title(id)) : title(id));
    setAccessibleDescription(titles.join(u", "_s));
    update();
}

void ReorderableTabBar::select(const QString& id)
{
    if (!m_order.contains(id))
        return;
    m_selectedID = id;
    describe();
    if (onSelect)
        onSelect(id);
}

void ReorderableTabBar::selectNext(qsizetype steps)
{
    const qsizetype count = m_order.size();
    const qsizetype target = (m_order.indexOf(m_selectedID) + steps) % count;
    selectAt((target + count) % count);
}

void ReorderableTabBar::moveSelected(qsizetype steps)
{
    const qsizetype from = m_order.indexOf(m_selectedID);
    const qsizetype to = std::clamp<qsizetype>(from + steps, 0, m_order.size() - 1);
    if (to != from)
        move(from, to);
}

void ReorderableTabBar::move(qsizetype from, qsizetype to)
{
    m_order.move(from, to);
    m_preferences.setTexts(Key::order, m_order);
    describe();
}

std::optional<qsizetype> ReorderableTabBar::indexAt(QPointF point) const
{
    if (!QRectF(rect()).contains(point) || m_order.isEmpty())
        return std::nullopt;
    const qreal tabWidth = qreal(width()) / qreal(m_order.size());
    return std::min(qsizetype(point.x() / tabWidth), m_order.size() - 1);
}

void ReorderableTabBar::setColors(const Palette& palette)
{
    m_palette = palette;
    update();
}

QSize ReorderableTabBar::sizeHint() const
{
    const QSizeF size = TabBarStyle().size * textScale();
    return {int(std::ceil(size.width())), int(std::ceil(size.height()))};
}

void ReorderableTabBar::updateSize()
{
    setFixedHeight(sizeHint().height());
    updateGeometry();
    update();
}

QString ReorderableTabBar::toolTipAt(QPoint point) const
{
    const std::optional<qsizetype> index = indexAt(point);
    if (!index)
        return toolTip();
    const QString name = title(m_order[*index]).simplified();
    const QRectF tab = tabRect(QSizeF(size()) / textScale(), m_order.size(), *index);
    if (fittingTitle(name, tab) == name)
        return toolTip();
    // As rich text a name of any length is wrapped.
    return u"<qt>%1<br>%2</qt>"_s.arg(name.toHtmlEscaped(), toolTip().toHtmlEscaped());
}

bool ReorderableTabBar::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        QToolTip::showText(help->globalPos(), toolTipAt(help->pos()), this);
        return true;
    }
    // Another font of the desktop's changes every measure.
    if (event->type() == QEvent::ApplicationFontChange || event->type() == QEvent::FontChange)
        updateSize();
    return QWidget::event(event);
}

void ReorderableTabBar::focusInEvent(QFocusEvent* event)
{
    const Qt::FocusReason reason = event->reason();
    m_showsFocus = reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason
        || reason == Qt::ShortcutFocusReason;
    QWidget::focusInEvent(event);
}

void ReorderableTabBar::keyPressEvent(QKeyEvent* event)
{
    const bool isPlain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    const bool isArrow = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right;
    const qsizetype selected = m_order.indexOf(m_selectedID);
    if (!isPlain || !isArrow || selected < 0) {
        QWidget::keyPressEvent(event);
        return;
    }
    m_showsFocus = true;
    if (event->key() == Qt::Key_Right)
        selectAt(std::min(selected + 1, m_order.size() - 1));
    else
        selectAt(std::max<qsizetype>(selected, 1) - 1);
}

void ReorderableTabBar::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    setFocus(Qt::MouseFocusReason);
    m_showsFocus = false;
    m_pressedIndex = indexAt(event->position());
    m_didReorder = false;
    update();
}

void ReorderableTabBar::mouseMoveEvent(QMouseEvent* event)
{
    const std::optional<qsizetype> target = indexAt(event->position());
    if (!m_pressedIndex || !target || target == m_pressedIndex)
        return;
    const qsizetype from = std::exchange(*m_pressedIndex, *target);
    m_didReorder = true;
    move(from, *target);
}

void ReorderableTabBar::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const std::optional<qsizetype> pressed = std::exchange(m_pressedIndex, std::nullopt);
    if (pressed && !m_didReorder && indexAt(event->position()) == pressed)
        selectAt(*pressed);
}

void ReorderableTabBar::paintEvent(QPaintEvent*)
{
    const TabBarStyle style;
    const double scale = textScale();
    const QSizeF bar = QSizeF(size()) / scale;
    QPainter painter(this);
    painter.scale(scale, scale);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(titleFont());
    painter.setPen(Qt::NoPen);
    painter.setBrush(faded(m_palette.label, style.trackAlpha));
    painter.drawRoundedRect(QRectF(QPointF(), bar), style.radius, style.radius);
    for (qsizetype i = 0; i < m_order.size(); ++i) {
        const QRectF tab = tabRect(bar, m_order.size(), i);
        const bool isSelected = m_order[i] == m_selectedID;
        const QRectF ground = tab.adjusted(style.inset, style.inset, -style.inset, -style.inset);
        painter.setBrush(isSelected ? faded(m_palette.label, style.selectedAlpha)
                                    : Qt::transparent);
        const bool showsFocus = isSelected && m_showsFocus && hasFocus();
        painter.setPen(showsFocus ? QPen(m_palette.accent, style.focusWidth) : QPen(Qt::NoPen));
        painter.drawRoundedRect(ground, style.tabRadius, style.tabRadius);
        drawTitle(painter, tab, title(m_order[i]),
                  isSelected ? m_palette.label : m_palette.secondaryLabel);
    }
}
