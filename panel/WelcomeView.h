#pragma once

#include "characters/AnimatedCharacter.h"
#include "platform/DesktopAppearance.h"

#include <QDialog>

#include <functional>
#include <vector>

class CharacterChoiceView;
class QLabel;
class QPushButton;
class QVBoxLayout;
class SpeechFont;
class WelcomeMascot;

/// Sizes of the welcome window in points.
struct WelcomeStyle {
    QSizeF size{520, 470};
    qreal margin = 20;
    qreal titleSize = 34;
    qreal textSize = 13;
    qreal headingSize = 13;
    qreal smallSize = 11;
    qreal tileGap = 10;
    qreal headingGap = 7; // below a heading
    qreal sectionGap = 13; // above it
    QSizeF button{90, 32};
    qreal buttonRadius = 8;
    qreal hintRoom = 60; // kept free for a hint on a small screen
    qreal titleBar = 40;
};

/// The window that greets newcomers. It shows what it is told and reports what is picked.
class WelcomeView : public QDialog {
    Q_OBJECT

public:
    /// One of a row of tiles.
    struct Choice {
        QString character; // id
        QString title;
    };

    /// `speech` must outlive this. `today` and `buddies` are the two rows of tiles.
    WelcomeView(const SpeechFont& speech, const std::vector<Choice>& today,
                const std::vector<Choice>& buddies);

    void setColors(const Palette& palette);
    /// A line above the foot; the window grows for it. Empty for none.
    void setHint(const QString& text);
    /// Marks one tile of each row, counted from 0.
    void setPicked(int today, int buddy);
    /// The character above begins to say `text`.
    void say(const QString& text);
    /// Shows that many more characters of it.
    void typeOn(int count);
    /// Shows everybody at this moment, `mascot` above.
    void animate(const PixelTheme& theme, const QString& mascot,
                 const CharacterAnimation& animation);

    std::function<void(int index)> onToday;
    std::function<void(int index)> onBuddy;
    std::function<void()> onStart;

private:
    struct Tile {
        CharacterChoiceView* view;
        AnimatedCharacter character;
    };

    [[nodiscard]] double fittingScale() const;
    QLabel* addLabel(const QString& text, const QFont& font, Qt::Alignment alignment);
    std::vector<Tile> addTiles(const QString& heading, const std::vector<Choice>& choices,
                               std::function<void(int index)> WelcomeView::*callback);
    void addFoot();
    void addSpace(qreal points);
    void fit();

    double m_scale;
    WelcomeMascot* m_mascot;
    QVBoxLayout* m_column;
    std::vector<Tile> m_todayTiles;
    std::vector<Tile> m_buddyTiles;
    QList<QLabel*> m_quietLabels; // in the second colour
    QLabel* m_hint = nullptr;
    QPushButton* m_start = nullptr;
};
