#include "usage/ContextCache.h"

#include "platform/Files.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

void removeOldContextCache(const QString& supportDirectory)
{
    QFile::remove(supportDirectory + "/codex-context.json"_L1);
    const QString snapshot = supportDirectory + "/claude-usage.json"_L1;
    const auto withContext = [&snapshot] {
        QJsonObject object = QJsonDocument::fromJson(readFile(snapshot).contents).object();
        return object.contains("context"_L1) ? std::optional(object) : std::nullopt;
    };
    if (!withContext())
        return;
    // The bridge merges into the same file, under the same lock.
    const FolderLock lock(supportDirectory);
    std::optional<QJsonObject> object = withContext();
    if (!lock.isHeld() || !object)
        return;
    object->remove("context"_L1);
    [[maybe_unused]] const ReplaceStatus ignored
        = replaceFile(snapshot, QJsonDocument(*object).toJson(QJsonDocument::Compact));
}
