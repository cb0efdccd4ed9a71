#pragma once

#include "characters/AnimatedCharacter.h"
#include "characters/CharacterImport.h"
#include "platform/DesktopAppearance.h"

#include <QWidget>

#include <functional>

class QLabel;
class QVBoxLayout;

/// Sizes of an import's pictures in points.
struct ImportRowStyle {
    qreal largeSide = 58;
    qreal smallSide = 22;
    qreal inset = 8; // from a ground's edge to the pictures
    qreal gap = 8; // between them
    qreal radius = 10;
    qreal nameSize = 13;
    qreal textSize = 11;

    [[nodiscard]] QSizeF ground() const
    {
        return {largeSide + gap + smallSide + 2 * inset, largeSide + 2 * inset};
    }
};

/// One file of an import: its character large and small on light and dark ground, or why it is
/// refused; and what is to happen when there is one like it.
class CharacterImportRow : public QWidget {
    Q_OBJECT

public:
    /// `theme` draws the character with the artwork of the file.
    CharacterImportRow(const ImportCandidate& candidate, const PixelTheme& theme,
                       const Palette& palette, QWidget* parent = nullptr);

    /// What came of it, with the user's answer.
    [[nodiscard]] const ImportCandidate& candidate() const { return m_candidate; }
    /// Shows the character at this time.
    void animate(const CharacterAnimation& animation);
    /// Says in red what went wrong.
    void showFailure(const QString& text);

    /// Called after the user answered otherwise.
    std::function<void()> onAnswer;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void addTexts();
    void addQuestion(QVBoxLayout& column);
    QLabel* addLabel(QVBoxLayout& column, const QString& text, qreal size, const QColor& color);
    [[nodiscard]] QSize picturesSize() const;

    ImportCandidate m_candidate;
    PixelTheme m_theme; // finds the file's artwork alone
    Palette m_palette;
    AnimatedCharacter m_largeCharacter;
    AnimatedCharacter m_smallCharacter;
    QImage m_large;
    QImage m_small;
    QLabel* m_failure = nullptr;
};
