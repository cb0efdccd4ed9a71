#pragma once

#include "platform/DesktopAppearance.h"

#include <QPointer>
#include <QWidget>

#include <functional>

class QLabel;
class QPushButton;

/// A question that covers its parent until it is answered: a window of its own would close the
/// panel beneath it.
class ShelfQuestion final : public QWidget {
    Q_OBJECT

public:
    explicit ShelfQuestion(QWidget* parent);

    void setColors(const Palette& palette);
    /// Asks. `onYes` is called when the user agrees, with the button `yes` or with Enter.
    void ask(const QString& message, const QString& explanation, const QString& yes,
             std::function<void()> onYes);

protected:
    bool focusNextPrevChild(bool next) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void answer(bool isYes);
    [[nodiscard]] QRectF cardPlace() const;

    Palette m_palette;
    QLabel* m_message = nullptr;
    QLabel* m_explanation = nullptr;
    QPushButton* m_yes = nullptr;
    QPushButton* m_cancel = nullptr;
    QPointer<QWidget> m_focusBefore;
    std::function<void()> m_onYes;
};
