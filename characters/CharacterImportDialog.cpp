#include "characters/CharacterImportDialog.h"

#include "characters/CharacterImportRow.h"
#include "characters/WidgetPalette.h"
#include "platform/TextFonts.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qreal dialogWidth = 540; // points
constexpr qreal margin = 18;
constexpr qreal rowGap = 14;
constexpr qreal summarySize = 12;
constexpr qreal buttonSize = 12;
constexpr double mostOfScreen = 0.8;

} // namespace

QStringList CharacterImportDialog::chooseFiles(QWidget* parent)
{
    QFileDialog dialog(parent, tr("Import Characters"), {}, tr("Vexlo characters (*.json)"));
    dialog.setObjectName(u"window"_s); // the ground of a parent's style sheet
    dialog.setFileMode(QFileDialog::ExistingFiles);
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles() : QStringList();
}

void CharacterImportDialog::run(const QStringList& paths, CustomCharacterLibrary& library,
                                const PixelTheme& theme, const Palette& palette, bool isLively,
                                QWidget* parent)
{
    auto* dialog = new CharacterImportDialog(paths, library, theme, palette, parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setLively(isLively);
    dialog->open();
}

CharacterImportDialog::CharacterImportDialog(const QStringList& paths,
                                             CustomCharacterLibrary& library,
                                             const PixelTheme& theme, const Palette& palette,
                                             QWidget* parent)
    : QDialog(parent)
    , m_library(library)
    , m_palette(palette)
    , m_summary(new QLabel)
    , m_scroll(new QScrollArea)
{
    const double scale = textScale();
    setWindowTitle(tr("Import Characters"));
    setPalette(widgetPalette(palette));
    auto* column = new QVBoxLayout(this);
    const int edge = qRound(margin * scale);
    column->setContentsMargins(edge, edge, edge, edge);
    column->setSpacing(qRound(rowGap * scale));
    m_summary->setFont(textFont(summarySize * scale));
    m_summary->setWordWrap(true);
    column->addWidget(m_summary);
    addRows(importCandidates(paths, library), theme);
    addButtons();
    updateTexts();
    fitToScreen();
    m_timer.setInterval(frameInterval);
    connect(&m_timer, &QTimer::timeout, this, &CharacterImportDialog::animate);
}

void CharacterImportDialog::fitToScreen()
{
    const QSize room = screen()->availableSize() * mostOfScreen;
    const int width = std::min(qRound(dialogWidth * textScale()), room.width());
    const int rest = layout()->totalSizeHint().height() - m_scroll->sizeHint().height();
    const int inner = width - 2 * qRound(margin * textScale());
    const int rows = m_scroll->widget()->layout()->totalHeightForWidth(inner);
    resize(width, std::min(rest + rows, room.height()));
}

void CharacterImportDialog::addRows(const QList<ImportCandidate>& candidates,
                                    const PixelTheme& theme)
{
    const double scale = textScale();
    auto* page = new QWidget;
    auto* rows = new QVBoxLayout(page);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(qRound(rowGap * scale));
    for (const ImportCandidate& candidate : candidates) {
        auto* row = new CharacterImportRow(candidate, theme, m_palette);
        row->onAnswer = [this] { updateTexts(); };
        rows->addWidget(row);
        m_rows.append(row);
    }
    rows->addStretch();
    m_scroll->setWidget(page);
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->verticalScrollBar()->setStyleSheet(scrollBarStyle(m_palette, scale));
    static_cast<QVBoxLayout*>(layout())->addWidget(m_scroll, 1);
}

void CharacterImportDialog::addButtons()
{
    auto* buttons = new QDialogButtonBox;
    buttons->setFont(textFont(buttonSize * textScale()));
    QPushButton* cancel = buttons->addButton(QDialogButtonBox::Cancel);
    m_import = buttons->addButton(QString(), QDialogButtonBox::AcceptRole);
    for (QPushButton* button : {cancel, m_import})
        button->setFont(buttons->font());
    cancel->setIcon({});
    connect(buttons, &QDialogButtonBox::accepted, this, &CharacterImportDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &CharacterImportDialog::reject);
    layout()->addWidget(buttons);
    m_import->setDefault(true);
    m_import->setFocus();
}

QList<CharacterImportRow*> CharacterImportDialog::wantedRows() const
{
    QList<CharacterImportRow*> wanted;
    std::ranges::copy_if(m_rows, std::back_inserter(wanted),
                         [](const auto* row) { return row->candidate().isWanted(); });
    return wanted;
}

void CharacterImportDialog::updateTexts()
{
    const int wanted = int(wantedRows().size());
    const int refused = int(
        std::ranges::count_if(m_rows, [](const auto* row) { return !row->candidate().character; }));
    QStringList parts;
    if (wanted > 0)
        parts.append(wanted == 1 ? tr("One character goes in.")
                                 : tr("%1 characters go in.").arg(wanted));
    if (refused > 0)
        parts.append(refused == 1 ? tr("One file cannot be used.")
                                  : tr("%1 files cannot be used.").arg(refused));
    m_summary->setText(parts.isEmpty() ? tr("Nothing goes in.") : parts.join(u' '));
    m_import->setText(wanted > 1 ? tr("Import %1").arg(wanted) : tr("Import"));
    m_import->setEnabled(wanted > 0);
}

void CharacterImportDialog::setLively(bool isLively)
{
    if (isLively)
        m_timer.start();
    else
        m_timer.stop();
}

void CharacterImportDialog::animate()
{
    m_seconds += frameInterval / 1000.0;
    for (CharacterImportRow* row : std::as_const(m_rows))
        row->animate({.seconds = m_seconds, .lively = true});
}

void CharacterImportDialog::accept()
{
    bool isAllIn = true;
    for (CharacterImportRow* row : wantedRows()) {
        if (m_library.add(row->candidate().imported())) {
            row->hide();
            m_rows.removeOne(row); // pressing again must not add it again
        } else {
            isAllIn = false;
            row->showFailure(tr("It could not be written to %1.").arg(m_library.localDirectory()));
        }
    }
    updateTexts();
    if (isAllIn)
        QDialog::accept();
}
