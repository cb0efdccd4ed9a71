#pragma once

#include "characters/MascotState.h"
#include "characters/PixelTheme.h"
#include "characters/SpeechFont.h"
#include "panel/UsageCardView.h"

#include <QWidget>

#include <functional>
#include <vector>

/// The usage tab: one card per service, in the order in which they were handed over.
///
/// Draws what it is given and keeps nothing. Its characters move with `setAnimationTime`; only the
/// places whose picture changed are painted again.
class UsagePanelView : public QWidget {
    Q_OBJECT

public:
    explicit UsagePanelView(QWidget* parent = nullptr);

    void setServices(const QList<ServiceUsage>& services) { m_services = services; }
    /// The notes stand after the first `place` of the services, or with none nowhere.
    void setNotesPlace(std::optional<qsizetype> place) { m_notesPlace = place; }
    /// The card of the notes, which moves and updates by itself. Becomes the panel's.
    void setNotesCard(QWidget* card);
    /// Brings the cards up to date with all that was set. Left to the caller, so that a closed
    /// panel costs neither time nor the memory of fonts that are not seen.
    void showCards(Date now = currentDate());
    [[nodiscard]] const QList<ServiceUsage>& services() const { return m_services; }
    /// The theme must outlive the view, or its place be taken by another call.
    void setTheme(const PixelTheme* theme);
    void setDisplayMode(UsageDisplayMode mode) { m_displayMode = mode; }
    void setColors(const Palette& palette);
    /// The characters' clock in seconds.
    void setAnimationTime(double seconds);
    /// Whether the characters play their lively loops.
    void setLively(bool isLively) { m_isLively = isLively; }
    /// Whether the characters speak, and how far they have come with their lines.
    void setSpeech(bool isEnabled, qint64 rotation);
    /// The font they speak in. It must outlive the view.
    void setSpeechFont(const SpeechFont* font) { m_speechFont = font; }
    /// What the calendar's character speaks of: today without what is over.
    void setSpokenCalendar(const ServiceUsage& today) { m_spokenCalendar = today; }
    /// How many characters of each line are shown.
    void setSpeechRevealCount(int count);
    [[nodiscard]] int speechRevealCount() const { return m_speechRevealCount; }
    /// The length of the longest line that is shown, in characters; 0 when nobody speaks.
    [[nodiscard]] int longestSpeech() const;
    /// Which low-limit looks are shown.
    void setLowLimitLooks(LowLimitLooks looks) { m_looks = looks; }
    /// A mood to show on every card, whatever the limits say.
    void setLowLimitPreview(std::optional<MascotState> state) { m_preview = state; }

    /// Called with the month and the day (absent for today) that the user wants to see in the
    /// calendar.
    std::function<void(Date month, std::optional<Date> selected)> onCalendarNavigate;
    /// Called when the user wants to see a day in the calendar application.
    std::function<void()> onOpenCalendar;

protected:
    void paintEvent(QPaintEvent* event) override;
    [[nodiscard]] QSize sizeHint() const override;

private:
    struct Slot {
        QString id; // of the service
        CharacterCard* view = nullptr;
        MascotState state = MascotState::active;
        QString pictureKey; // of what the card shows
    };

    void arrangeCards();
    CharacterCard* makeCard(const QString& id);
    [[nodiscard]] Slot takeSlot(const QString& id);
    void showService(Slot& slot, const ServiceUsage& service, Date now);
    void showUsage(UsageCardView& view, const ServiceUsage& service, const QString& speech,
                   Date now);
    void updateCharacter(Slot& slot);

    QList<ServiceUsage> m_services;
    const PixelTheme* m_theme = nullptr;
    UsageDisplayMode m_displayMode = UsageDisplayMode::left;
    Palette m_palette;
    double m_animationTime = 0;
    bool m_isLively = false;
    bool m_speechEnabled = false;
    qint64 m_speechRotation = 0;
    ServiceUsage m_spokenCalendar;
    int m_speechRevealCount = 0;
    const SpeechFont* m_speechFont = nullptr;
    LowLimitLooks m_looks;
    std::optional<MascotState> m_preview;
    std::vector<Slot> m_slots;
    std::optional<qsizetype> m_notesPlace;
    QWidget* m_notesCard = nullptr;
};
