#include "today/ShelfQuestion.h"

#include "platform/TextFonts.h"
#include "today/CardFrame.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include <cmath>
#include <utility>

namespace {

// In points.
constexpr qreal messageSize = 13;
constexpr qreal explanationSize = 11.5;
constexpr qreal cardMargin = 30; // from the parent's sides
constexpr qreal cardPadding = 18;
constexpr qreal textGap = 6;
constexpr qreal buttonGap = 8;
constexpr qreal veilOpacity = 0.82;

int scaled(qreal points)
{
    return int(std::lround(points * textScale()));
}

QString buttonStyle(const Palette& palette)
{
    const QString sheet = QStringLiteral(
        "QPushButton { border: 1px solid %1; border-radius: 6px; padding: 5px 14px;"
        " background: %2; color: %3; }"
        "QPushButton:default { background: %4; border-color: %4; color: %5; }"
        "QPushButton:focus { border: 2px solid %6; padding: 4px 13px; }");
    return sheet.arg(palette.separator.name(), palette.windowBackground.name(),
                     palette.label.name(), palette.accent.name(), palette.accentText.name(),
                     palette.secondaryLabel.name());
}

} // namespace

ShelfQuestion::ShelfQuestion(QWidget* parent)
    : QWidget(parent)
    , m_message(new QLabel)
    , m_explanation(new QLabel)
    , m_yes(new QPushButton)
    , m_cancel(new QPushButton(tr("Cancel")))
{
    m_yes->setDefault(true);
    for (QLabel* label : {m_message, m_explanation}) {
        label->setWordWrap(true);
        label->setAlignment(Qt::AlignHCenter);
        label->setTextFormat(Qt::PlainText);
    }
    connect(m_yes, &QPushButton::clicked, this, [this] { answer(true); });
    connect(m_cancel, &QPushButton::clicked, this, [this] { answer(false); });
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(scaled(buttonGap));
    buttons->addStretch();
    buttons->addWidget(m_yes);
    buttons->addWidget(m_cancel);
    buttons->addStretch();
    auto* layout = new QVBoxLayout(this);
    const int side = scaled(cardMargin + cardPadding);
    layout->setContentsMargins(side, side, side, side);
    layout->setSpacing(scaled(textGap));
    layout->addStretch();
    layout->addWidget(m_message);
    layout->addWidget(m_explanation);
    layout->addSpacing(scaled(textGap));
    layout->addLayout(buttons);
    layout->addStretch();
    hide();
}

void ShelfQuestion::setColors(const Palette& palette)
{
    m_palette = palette;
    const auto paint = [](QLabel* label, const QColor& color) {
        label->setStyleSheet(QStringLiteral("color: %1;").arg(color.name()));
    };
    paint(m_message, palette.label);
    paint(m_explanation, palette.secondaryLabel);
    for (QPushButton* button : {m_yes, m_cancel})
        button->setStyleSheet(buttonStyle(palette));
    update();
}

void ShelfQuestion::ask(const QString& message, const QString& explanation, const QString& yes,
                        std::function<void()> onYes)
{
    m_message->setFont(textFont(messageSize, QFont::DemiBold));
    m_explanation->setFont(textFont(explanationSize));
    m_message->setText(message);
    m_explanation->setText(explanation);
    m_yes->setText(yes);
    m_onYes = std::move(onYes);
    setAccessibleName(message);
    setAccessibleDescription(explanation);
    m_focusBefore = QApplication::focusWidget();
    setGeometry(parentWidget()->rect());
    raise();
    show();
    m_yes->setFocus();
}

void ShelfQuestion::answer(bool isYes)
{
    hide();
    if (m_focusBefore)
        m_focusBefore->setFocus();
    if (const auto onYes = std::exchange(m_onYes, nullptr); isYes && onYes)
        onYes();
}

QRectF ShelfQuestion::cardPlace() const
{
    const qreal padding = cardPadding * textScale();
    const QRect texts = m_message->geometry().united(m_cancel->geometry());
    const qreal left = cardMargin * textScale();
    return {left, texts.top() - padding, width() - 2 * left, texts.height() + 2 * padding};
}

/// The keyboard stays with the two buttons.
bool ShelfQuestion::focusNextPrevChild(bool /*next*/)
{
    (m_yes->hasFocus() ? m_cancel : m_yes)->setFocus();
    return true;
}

void ShelfQuestion::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        answer(false);
    else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        answer(!m_cancel->hasFocus());
    else if (event->key() == Qt::Key_Left || event->key() == Qt::Key_Right)
        focusNextPrevChild(true);
    event->accept(); // nothing beneath is to hear of it
}

void ShelfQuestion::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    QColor veil = m_palette.windowBackground;
    veil.setAlphaF(float(veilOpacity));
    painter.fillRect(rect(), veil);
    drawCardFrame(painter, cardPlace(), m_palette);
}
