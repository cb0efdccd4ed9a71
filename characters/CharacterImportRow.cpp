#include "characters/CharacterImportRow.h"

#include "characters/MascotBadges.h"
#include "characters/SpritePainter.h"
#include "platform/TextFonts.h"

#include <QComboBox>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr ImportRowStyle sizes;
constexpr qreal textGap = 14; // points, beside the pictures
constexpr qreal lineGap = 3;
constexpr qreal markPixel = 6; // of the mark on a refused file

/// `theme` with nothing but the artwork of `character`.
PixelTheme themeFor(PixelTheme theme, const std::optional<CustomCharacterFile>& character)
{
    const std::optional<CharacterArt> art
        = character ? std::optional(character->art()) : std::nullopt;
    theme.findArt = [art](const QString&) { return art; };
    return theme;
}

} // namespace

CharacterImportRow::CharacterImportRow(const ImportCandidate& candidate, const PixelTheme& theme,
                                       const Palette& palette, QWidget* parent)
    : QWidget(parent)
    , m_candidate(candidate)
    , m_theme(themeFor(theme, candidate.character))
    , m_palette(palette)
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(picturesSize().width() + qRound(textGap * textScale()), 0, 0, 0);
    setMinimumHeight(picturesSize().height());
    addTexts();
    animate({});
}

QSize CharacterImportRow::picturesSize() const
{
    const QSizeF ground = sizes.ground() * textScale();
    return {int(std::ceil(2 * ground.width())), int(std::ceil(ground.height()))};
}

QLabel* CharacterImportRow::addLabel(QVBoxLayout& column, const QString& text, qreal size,
                                     const QColor& color)
{
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setFont(textFont(size * textScale()));
    QPalette colors = label->palette();
    colors.setColor(QPalette::WindowText, color);
    label->setPalette(colors);
    column.addWidget(label);
    return label;
}

void CharacterImportRow::addTexts()
{
    auto* column = new QVBoxLayout;
    column->setSpacing(qRound(lineGap * textScale()));
    column->addStretch();
    const QString fileName = QFileInfo(m_candidate.path).fileName();
    const QString title = m_candidate.character ? m_candidate.character->name : fileName;
    QLabel* name = addLabel(*column, title, sizes.nameSize, m_palette.label);
    name->setFont(textFont(sizes.nameSize * textScale(), QFont::DemiBold));
    setAccessibleName(title);
    if (m_candidate.character)
        addLabel(*column, fileName, sizes.textSize, m_palette.secondaryLabel);
    else
        addLabel(*column, m_candidate.error, sizes.textSize, m_palette.label);
    if (m_candidate.twin)
        addQuestion(*column);
    m_failure = addLabel(*column, {}, sizes.textSize, m_palette.warningRed);
    m_failure->hide();
    column->addStretch();
    static_cast<QHBoxLayout*>(layout())->addLayout(column, 1);
}

void CharacterImportRow::addQuestion(QVBoxLayout& column)
{
    addLabel(column, tr("There is a “%1” already.").arg(m_candidate.twin->name), sizes.textSize,
             m_palette.label);
    auto* answers = new QComboBox;
    answers->setFont(textFont(sizes.textSize * textScale()));
    for (const auto& [answer, text] : {std::pair(ImportAnswer::replace, tr("Replace it")),
                                       std::pair(ImportAnswer::keepBoth, tr("Keep both")),
                                       std::pair(ImportAnswer::skip, tr("Do not import"))})
        answers->addItem(text, int(answer));
    answers->setCurrentIndex(answers->findData(int(m_candidate.answer)));
    answers->setAccessibleName(tr("What to do with %1").arg(m_candidate.character->name));
    connect(answers, &QComboBox::currentIndexChanged, this, [this, answers] {
        m_candidate.answer = ImportAnswer(answers->currentData().toInt());
        if (onAnswer)
            onAnswer();
    });
    column.addWidget(answers, 0, Qt::AlignLeft);
}

void CharacterImportRow::showFailure(const QString& text)
{
    m_failure->setText(text);
    m_failure->show();
}

void CharacterImportRow::animate(const CharacterAnimation& animation)
{
    if (!m_candidate.character)
        return;
    const double scale = textScale();
    const QString& id = m_candidate.character->id;
    const auto draw = [&](AnimatedCharacter& character, QImage& image, qreal side) {
        const auto next
            = character.next(m_theme, id, animation, std::round(side * scale), devicePixelRatioF());
        image = next.value_or(image);
        return next.has_value();
    };
    const bool isLarge = draw(m_largeCharacter, m_large, sizes.largeSide);
    if (draw(m_smallCharacter, m_small, sizes.smallSide) || isLarge)
        update(QRect({0, 0}, picturesSize()));
}

void CharacterImportRow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double scale = textScale();
    const QSizeF ground = sizes.ground() * scale;
    const qreal top = std::floor((height() - ground.height()) / 2);
    const qreal small = top + std::round((sizes.inset + sizes.largeSide - sizes.smallSide) * scale);
    qreal left = 0;
    for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark}) {
        const QRectF place(QPointF(left, top), ground);
        painter.setPen(QPen(m_palette.separator, 1));
        painter.setBrush(paletteFor(scheme).cardBackground);
        painter.drawRoundedRect(place.adjusted(0.5, 0.5, -0.5, -0.5), sizes.radius, sizes.radius);
        const qreal inset = std::round(sizes.inset * scale);
        if (m_candidate.character) {
            painter.drawImage(QPointF(left + inset, top + inset), m_large);
            painter.drawImage(
                QPointF(left + std::round((sizes.inset + sizes.largeSide + sizes.gap) * scale),
                        small),
                m_small);
        } else {
            const QSizeF mark = QSizeF(gridSize(alertMark())) * markPixel * scale;
            const QPointF corner = place.center() - QPointF(mark.width(), mark.height()) / 2;
            drawPixelRows(painter, alertMark(), corner, markPixel * scale, Qt::black,
                          badgePalette());
        }
        left += std::round(ground.width());
    }
}
