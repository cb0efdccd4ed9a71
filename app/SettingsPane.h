#pragma once

#include "app/SettingsDraft.h"
#include "platform/DesktopAppearance.h"

#include <QWidget>

#include <functional>

/// One pane of the Settings window. It shows the window's draft and changes it.
class SettingsPane : public QWidget {
public:
    explicit SettingsPane(SettingsDraft& draft)
        : m_draft(draft)
    {
    }

    /// Shows what the draft says now.
    virtual void load() = 0;
    virtual void setColors(const Palette& palette) = 0;

    /// Called after the user has changed the draft.
    std::function<void()> onChange;

protected:
    [[nodiscard]] SettingsDraft& draft() { return m_draft; }
    /// Changes the draft with `change`, and tells.
    template<typename Change> void edit(Change change)
    {
        change(m_draft);
        if (onChange)
            onChange();
    }

private:
    SettingsDraft& m_draft;
};
