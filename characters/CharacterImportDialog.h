#pragma once

#include "characters/CharacterImport.h"
#include "platform/DesktopAppearance.h"

#include <QDialog>
#include <QTimer>

class CharacterImportRow;
struct PixelTheme;
class QLabel;
class QPushButton;
class QScrollArea;

/// Shows the characters in the files that a user chose, and puts them into the library when told
/// to.
///
/// Accepted once everything wanted is in; what could not be written says so, and the dialog stays.
class CharacterImportDialog : public QDialog {
    Q_OBJECT

public:
    static constexpr int frameInterval = 120; // ms

    /// Lets the user choose files. Empty when none were chosen.
    [[nodiscard]] static QStringList chooseFiles(QWidget* parent);

    /// Opens the dialog over `parent`'s window; it removes itself. See the constructor.
    static void run(const QStringList& paths, CustomCharacterLibrary& library,
                    const PixelTheme& theme, const Palette& palette, bool isLively,
                    QWidget* parent);

    /// `library` must outlive the dialog; `theme` draws what the files bring.
    CharacterImportDialog(const QStringList& paths, CustomCharacterLibrary& library,
                          const PixelTheme& theme, const Palette& palette,
                          QWidget* parent = nullptr);

    /// Whether the previews move. They stand still until told.
    void setLively(bool isLively);

    void accept() override;

private:
    void addRows(const QList<ImportCandidate>& candidates, const PixelTheme& theme);
    void addButtons();
    void fitToScreen();
    void animate();
    void updateTexts();
    [[nodiscard]] QList<CharacterImportRow*> wantedRows() const;

    CustomCharacterLibrary& m_library;
    Palette m_palette;
    QList<CharacterImportRow*> m_rows; // without those that are in already
    QLabel* m_summary;
    QScrollArea* m_scroll;
    QPushButton* m_import = nullptr;
    QTimer m_timer;
    double m_seconds = 0;
};
