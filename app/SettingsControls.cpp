#include "app/SettingsControls.h"

#include "platform/TextFonts.h"

#include <QButtonGroup>
#include <QColorDialog>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr double headingSize = 10; // points, as all here
constexpr double titleSize = 13;
constexpr double captionSize = 11;
constexpr QSizeF wellSize(38, 22);
constexpr int rowGap = 12;
const QString groundName = u"window"_s; // of what the style sheet gives the window's ground

double scaled(double points)
{
    return points * textScale();
}

QString colorName(const QColor& color)
{
    return color.name(QColor::HexRgb);
}

} // namespace

SettingsHeading::SettingsHeading(const QString& text, QWidget* parent)
    : QLabel(text, parent)
{
    setFont(fixedFont(scaled(headingSize), QFont::Bold));
    setProperty("secondary", true);
    setContentsMargins(0, int(scaled(8)), 0, 0);
}

SettingsNote::SettingsNote(const QString& text, QWidget* parent)
    : QLabel(text, parent)
{
    setFont(textFont(scaled(captionSize)));
    setProperty("secondary", true);
    setWordWrap(true);
}

QWidget* settingsRow(const QString& title, const QString& caption, QWidget* control)
{
    auto* row = new QWidget;
    auto* texts = new QVBoxLayout;
    texts->setSpacing(1);
    if (!title.isEmpty()) {
        auto* label = new QLabel(title);
        label->setFont(textFont(scaled(titleSize)));
        label->setBuddy(control);
        texts->addWidget(label);
    }
    if (!caption.isEmpty())
        texts->addWidget(new SettingsNote(caption));
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 2, 0, 2);
    layout->setSpacing(rowGap);
    layout->addLayout(texts, 1);
    layout->addWidget(control, 0, Qt::AlignRight | Qt::AlignVCenter);
    control->setAccessibleName(title);
    control->setAccessibleDescription(caption);
    return row;
}

SegmentedControl::SegmentedControl(const QStringList& titles, QWidget* parent)
    : QWidget(parent)
    , m_group(new QButtonGroup(this))
    , m_titles(titles)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    for (qsizetype i = 0; i < titles.size(); ++i) {
        auto* button = new QPushButton(titles[i]);
        button->setCheckable(true);
        button->setProperty("segment", true);
        button->setFont(textFont(scaled(captionSize)));
        m_group->addButton(button, int(i));
        layout->addWidget(button);
    }
    connect(m_group, &QButtonGroup::idClicked, this, [this](int index) {
        if (onSelect)
            onSelect(index);
    });
    setSelected(0);
}

void SegmentedControl::setSelected(int index)
{
    m_group->button(std::clamp(index, 0, int(m_titles.size()) - 1))->setChecked(true);
}

int SegmentedControl::selected() const
{
    return m_group->checkedId();
}

void SegmentedControl::setAccessibleTitle(const QString& title)
{
    setAccessibleName(title);
    for (int i = 0; i < int(m_titles.size()); ++i)
        m_group->button(i)->setAccessibleName(title + u": "_s + m_titles[i]);
}

ColorWell::ColorWell(QWidget* parent)
    : QAbstractButton(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    connect(this, &QAbstractButton::clicked, this, &ColorWell::pick);
}

void ColorWell::setColors(const Palette& palette)
{
    m_palette = palette;
    update();
}

void ColorWell::setColor(const QColor& color)
{
    m_color = color;
    setToolTip(color.name());
    update();
}

QSize ColorWell::sizeHint() const
{
    return (wellSize * textScale()).toSize();
}

void ColorWell::pick()
{
    QColorDialog dialog(m_color, window());
    dialog.setObjectName(groundName);
    dialog.setWindowTitle(accessibleName());
    if (dialog.exec() != QDialog::Accepted || dialog.currentColor() == m_color)
        return;
    const QColor picked = dialog.currentColor();
    setColor(picked);
    if (onPick)
        onPick(picked);
}

void ColorWell::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(hasFocus() ? m_palette.accent : m_palette.separator, hasFocus() ? 2 : 1));
    painter.setBrush(m_color);
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 5, 5);
}

QMessageBox* settingsMessage(QWidget* parent, const Palette& palette, const QString& message,
                             const QString& informativeText)
{
    auto* box
        = new QMessageBox(QMessageBox::NoIcon, u"Vexlo"_s, message, QMessageBox::NoButton, parent);
    box->setInformativeText(informativeText);
    box->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setObjectName(groundName);
    box->setStyleSheet(settingsStyleSheet(palette));
    return box;
}

QString settingsStyleSheet(const Palette& palette)
{
    return QStringLiteral(
               "QWidget#window { background: %1; }"
               "QLabel { color: %2; background: transparent; }"
               "QLabel[secondary=\"true\"] { color: %3; }"
               "QScrollArea, QScrollArea > QWidget > QWidget { background: transparent;"
               " border: none; }"
               "QLineEdit { color: %2; background: %4; border: 1px solid %5; border-radius: 6px;"
               " padding: 4px 7px; selection-background-color: %6; selection-color: %7; }"
               "QLineEdit:focus { border: 1px solid %6; }"
               "QPushButton { color: %2; background: %4; border: 1px solid %5;"
               " border-radius: 6px; padding: 5px 14px; }"
               "QPushButton:hover { border: 1px solid %3; }"
               "QPushButton:focus { border: 1px solid %6; }"
               "QPushButton:disabled { color: %3; }"
               "QPushButton:default, QPushButton[segment=\"true\"]:checked {"
               " color: %7; background: %6; border: 1px solid %6; }"
               "QPushButton[segment=\"true\"] { border-radius: 0; padding: 4px 10px; }"
               "QPushButton[segment=\"true\"]:focus { text-decoration: underline; }"
               "QToolButton { color: %2; background: transparent; border: none;"
               " border-radius: 5px; padding: 3px; }"
               "QToolButton:hover, QToolButton:focus { background: %5; }"
               "QScrollBar:vertical { width: 8px; background: transparent; }"
               "QScrollBar::handle:vertical { background: %5; border-radius: 4px;"
               " min-height: 24px; }"
               "QScrollBar::add-line, QScrollBar::sub-line { height: 0; }"
               "QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }")
        .arg(colorName(palette.windowBackground), colorName(palette.label),
             colorName(palette.secondaryLabel), colorName(palette.cardBackground),
             colorName(palette.separator), colorName(palette.accent),
             colorName(palette.accentText));
}
