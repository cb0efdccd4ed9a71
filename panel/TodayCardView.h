#pragma once

#include "panel/CharacterCard.h"
#include "panel/TodayCard.h"

#include <functional>

/// The Today card: the agenda of a day and the month around it.
///
/// Keeps no choice of the user's: month and day come with the record, and what mouse or keyboard
/// ask for goes to `onCalendarNavigate`, whose answer is the next record. The keyboard moves a mark
/// of its own over the days; Enter selects the marked one.
class TodayCardView final : public CharacterCard {
    Q_OBJECT

public:
    explicit TodayCardView(QWidget* parent = nullptr);

    void setUsage(const ServiceUsage& usage, Date now = currentDate());
    /// What the character says; empty for nothing.
    void setSpeech(const QString& text);
    [[nodiscard]] QString speech() const override { return m_card.speech; }

    [[nodiscard]] const TodayCard& card() const { return m_card; }
    [[nodiscard]] qreal characterSide() const override;

    /// Called with the month to show (when it begins) and the day to select (likewise; absent for
    /// today), as soon as the user asks for another of the two.
    std::function<void(Date month, std::optional<Date> selected)> onCalendarNavigate;
    /// Called when the user wants to see a day in the calendar application.
    std::function<void()> onOpenCalendar;

protected:
    bool event(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void measure() override;
    [[nodiscard]] Places places() const override;

private:
    void setCard(TodayCard card);
    void describe();
    void navigate(QDate month, QDate selected);
    void selectDay(QDate day);
    void moveCursor(QDate day, QDate selected);
    void setHovered(const std::optional<CalendarHit>& hit);
    [[nodiscard]] bool handleKey(const QKeyEvent& event);
    [[nodiscard]] QDate cursor() const;
    [[nodiscard]] QString toolTipAt(QPointF position) const;

    TodayCard m_card;
    TodayLayout m_layout;
    QList<CalendarHit> m_calendarHits;
    std::optional<CalendarHit> m_hovered;
    QDate m_cursor; // null until the keyboard moves it
    bool m_showsFocus = false; // only where the keyboard brought it
    QDate m_deselected; // by the click that may become a double one
};
