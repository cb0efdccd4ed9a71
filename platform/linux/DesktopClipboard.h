#pragma once

#include "platform/ClipboardBoard.h"
#include "platform/linux/SelectionReader.h"

#include <QObject>

#include <chrono>
#include <optional>

/// The desktop's clipboard (not what is merely selected).
///
/// Under X11 it is read through a `SelectionReader`, elsewhere through Qt, which tells of changes
/// only as far as the desktop lets it. Writing goes through Qt. Needs the application object.
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
    void changed();

    QStringList m_pictureTypes;
    QStringList m_shyTypes;
    std::chrono::milliseconds m_patience;
    std::optional<SelectionReader> m_reader; // while watched under X11
    qint64 m_changeCount = 0;
};
