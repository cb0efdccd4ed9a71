#pragma once

#include "platform/ClipboardBoard.h"
#include "platform/linux/DataControlClipboard.h"
#include "platform/linux/SelectionReader.h"

#include <QObject>

#include <chrono>
#include <optional>

/// The desktop's clipboard (not what is merely selected).
///
/// Where a Wayland compositor offers data control, all goes through a `DataControlClipboard` while
/// the board is watched. Otherwise it is read through a `SelectionReader` under X11, elsewhere
/// through Qt, which tells of changes only as far as the desktop lets it, and written through Qt.
/// Needs the application object.
class DesktopClipboard final : public QObject, public ClipboardBoard {
    Q_OBJECT

public:
    /// `pictureTypes` and `shyTypes` as `MimeContent` has them, for where Qt reads. `patience` is
    /// how long an owner may keep silent.
    explicit DesktopClipboard(QStringList pictureTypes, QStringList shyTypes,
                              std::chrono::milliseconds patience = std::chrono::seconds(5));

    [[nodiscard]] qint64 changeCount() const override { return m_changeCount; }
    [[nodiscard]] bool tellsOfChanges() const override { return true; }
    void setWatched(bool isWatched) override;
    void fetch(const Fetched& fetched) override;
    bool write(std::unique_ptr<QMimeData> content) override;

private:
    void watchCompositor();
    void dropControl();
    void changed();

    QStringList m_pictureTypes;
    QStringList m_shyTypes;
    std::chrono::milliseconds m_patience;
    std::optional<DataControlClipboard> m_control; // while watched, and while it owns the content
    std::optional<SelectionReader> m_reader; // while watched under X11
    bool m_isWatched = false;
    qint64 m_changeCount = 0;
};
