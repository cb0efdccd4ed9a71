#include "panel/PanelWindow.h"

#include "panel/PopoverPlacement.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QVBoxLayout>

#include <chrono>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 justHiddenMilliseconds = 250;
constexpr int footerMargin = 14; // pixels, as all here
constexpr int footerGap = 6;
constexpr int tabMargin = 11; // the border adds one

qint64 steadyMilliseconds()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

QString colorName(const QColor& color)
{
    return color.name(QColor::HexRgb);
}

/// How the footer and the scroll bar look: flat, in the panel's own colours.
QString panelStyleSheet(const Palette& palette)
{
    return QStringLiteral(
               "QPushButton { border: none; padding: 4px 6px; border-radius: 5px;"
               " color: %1; background: transparent; }"
               "QPushButton:hover { background: %2; color: %3; }"
               "QPushButton:focus { border: 1px solid %4; padding: 3px 5px; }"
               "QLabel { color: %1; }"
               "QScrollArea, QScrollArea > QWidget > QWidget { background: transparent; }"
               "QScrollBar:vertical { width: 8px; background: transparent; }"
               "QScrollBar::handle:vertical { background: %5; border-radius: 4px;"
               " min-height: 24px; }"
               "QScrollBar::add-line, QScrollBar::sub-line { height: 0; }"
               "QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }")
        .arg(colorName(palette.secondaryLabel), colorName(palette.cardBackground),
             colorName(palette.label), colorName(palette.accent), colorName(palette.separator));
}

} // namespace

PanelWindow::PanelWindow()
    : QWidget(nullptr)
    , m_column(new QVBoxLayout(this))
    , m_scrollArea(new QScrollArea)
    , m_explanation(new QLabel)
    , m_refresh(new QPushButton(tr("Refresh")))
    , m_settings(new QPushButton(tr("Settings…")))
{
    setWindowTitle(u"Vexlo"_s);
    setFocusPolicy(Qt::StrongFocus);
    m_explanation->setWordWrap(true);
    m_explanation->setContentsMargins(footerMargin, footerMargin, footerMargin, 0);
    m_explanation->hide();
    m_scrollArea->setWidgetResizable(true);
    m_scrollArea->setFrameShape(QFrame::NoFrame);
    m_scrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scrollArea->setFocusPolicy(Qt::NoFocus);
    m_refresh->setToolTip(tr("Ask every service now (Ctrl+R)"));
    connect(m_refresh, &QPushButton::clicked, this, [this] { onRefresh(); });
    m_settings->setToolTip(tr("Change what is shown and how (Ctrl+,)"));
    m_settings->hide();
    connect(m_settings, &QPushButton::clicked, this, [this] { onSettings(); });

    auto* footer = new QHBoxLayout;
    footer->setContentsMargins(footerMargin, 0, footerMargin, footerMargin / 2);
    footer->addWidget(m_refresh);
    footer->addStretch();
    footer->addWidget(m_settings);
    m_column->setContentsMargins(1, footerGap, 1, 1); // the border's
    m_column->setSpacing(footerGap);
    m_column->addWidget(m_explanation);
    m_column->addWidget(m_scrollArea, 1);
    m_column->addLayout(footer);
    addShortcuts();
    // A screen that is unplugged takes the popover's place with it. Qt has moved on by the next
    // turn.
    connect(
        qApp, &QGuiApplication::screenRemoved, this, [this] { fitContent(); },
        Qt::QueuedConnection);
}

PanelWindow::~PanelWindow()
{
    for (QWidget* page : std::as_const(m_pages)) {
        if (page != m_scrollArea->widget())
            delete page;
    }
}

void PanelWindow::addPage(const QString& id, QWidget* page)
{
    m_pages.insert(id, page);
    if (m_page.isEmpty())
        m_page = id;
}

void PanelWindow::showPage(const QString& id)
{
    if (id == m_page || !m_pages.contains(id))
        return;
    m_page = id;
    if (!isVisible())
        return;
    insertPage();
    scrollToTop();
    fitContent();
}

void PanelWindow::insertPage()
{
    // Not before it is seen: measuring a page loads fonts, which a closed panel does without.
    QWidget* page = m_pages.value(m_page);
    if (page == m_scrollArea->widget())
        return;
    m_scrollArea->takeWidget();
    m_scrollArea->setWidget(page);
    page->show();
}

void PanelWindow::setTabBar(QWidget* bar)
{
    auto* row = new QHBoxLayout;
    row->setContentsMargins(tabMargin, footerGap, tabMargin, 0);
    row->addWidget(bar);
    m_column->insertLayout(1, row);
}

void PanelWindow::offerSettings()
{
    m_settings->show();
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma), this), &QShortcut::activated,
            this, [this] { onSettings(); });
}

void PanelWindow::addShortcuts()
{
    const auto add = [this](const QKeySequence& keys, std::function<void()> PanelWindow::*action) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this,
                [this, action] { (this->*action)(); });
    };
    add(QKeySequence(Qt::CTRL | Qt::Key_R), &PanelWindow::onRefresh);
    add(QKeySequence(Qt::CTRL | Qt::Key_Q), &PanelWindow::onQuit);
}

void PanelWindow::setColors(const Palette& palette)
{
    m_palette = palette;
    setStyleSheet(panelStyleSheet(palette));
    update();
}

QScreen* PanelWindow::targetScreen() const
{
    QScreen* screen = m_anchor ? QGuiApplication::screenAt(*m_anchor) : nullptr;
    return screen ? screen : QGuiApplication::primaryScreen();
}

QSize PanelWindow::wantedSize() const
{
    const QSize content = m_scrollArea->widget()->sizeHint();
    const int around = sizeHint().height() - m_scrollArea->sizeHint().height();
    const QMargins margins = layout()->contentsMargins();
    return {content.width() + margins.left() + margins.right(), content.height() + around};
}

void PanelWindow::place()
{
    const QScreen* screen = targetScreen();
    if (!screen)
        return;
    const QRect available = screen->availableGeometry();
    if (m_isPopover) {
        const QRect place = popoverGeometry(m_anchor, screen->geometry(), available, wantedSize());
        // A fixed size is what makes tiling desktops leave the popover alone.
        setFixedSize(place.size());
        move(place.topLeft());
    } else {
        setMinimumWidth(wantedSize().width());
        resize(wantedSize().boundedTo(available.size()));
    }
}

void PanelWindow::showPopover(std::optional<QPoint> anchor)
{
    m_anchor = anchor;
    m_isPopover = true;
    insertPage();
    m_explanation->hide();
    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    place();
    show();
    raise();
    activateWindow();
    setFocus(); // Tab reaches the first card from here, and nothing is marked unasked
}

void PanelWindow::showAsWindow(const QString& explanation)
{
    m_isPopover = false;
    insertPage();
    m_explanation->setText(explanation);
    m_explanation->show();
    setMinimumSize(0, 0);
    setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    setWindowFlags(Qt::Window);
    place();
    show();
}

void PanelWindow::fitContent()
{
    if (isVisible() && m_isPopover)
        place();
}

void PanelWindow::scrollToTop()
{
    m_scrollArea->verticalScrollBar()->setValue(0);
}

bool PanelWindow::wasJustHidden() const
{
    return m_hiddenAt != 0 && steadyMilliseconds() - m_hiddenAt < justHiddenMilliseconds;
}

bool PanelWindow::event(QEvent* event)
{
    if (event->type() == QEvent::WindowDeactivate && m_isPopover && m_isTransient && isVisible()) {
        m_hiddenAt = steadyMilliseconds();
        hide();
    }
    return QWidget::event(event);
}

void PanelWindow::keyPressEvent(QKeyEvent* event)
{
    QScrollBar* bar = m_scrollArea->verticalScrollBar();
    switch (event->key()) {
    case Qt::Key_Escape:
        close();
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        bar->triggerAction(event->key() == Qt::Key_Up ? QAbstractSlider::SliderSingleStepSub
                                                      : QAbstractSlider::SliderSingleStepAdd);
        break;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        bar->triggerAction(event->key() == Qt::Key_PageUp ? QAbstractSlider::SliderPageStepSub
                                                          : QAbstractSlider::SliderPageStepAdd);
        break;
    case Qt::Key_Home:
    case Qt::Key_End:
        bar->triggerAction(event->key() == Qt::Key_Home ? QAbstractSlider::SliderToMinimum
                                                        : QAbstractSlider::SliderToMaximum);
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

void PanelWindow::closeEvent(QCloseEvent* event)
{
    QWidget::closeEvent(event);
    if (!m_isPopover)
        onWindowClosed();
}

void PanelWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!event->spontaneous())
        onShown();
}

void PanelWindow::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    if (!event->spontaneous())
        onClosed();
}

void PanelWindow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    // A border as two fills: a line would fall between device pixels on some screens.
    const int border = m_isPopover ? 1 : 0;
    painter.fillRect(rect(), m_palette.separator);
    painter.fillRect(rect().adjusted(border, border, -border, -border), m_palette.windowBackground);
}
