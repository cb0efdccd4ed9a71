#include "app/CharacterTargets.h"

#include "usage/ProviderRegistry.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {

class Texts {
    Q_DECLARE_TR_FUNCTIONS(CharacterTargets)
};

CharacterTarget target(const QString& id, const QString& label)
{
    return {.id = id, .label = label, .badge = label.toUpper()};
}

} // namespace

QList<CharacterTarget> characterTargets(const ProviderRegistry& registry)
{
    // The badges of the tool tabs say less than their labels.
    QList<CharacterTarget> targets{
        {.id = u"menu"_s, .label = Texts::tr("Menu Bar"), .badge = Texts::tr("MENU")},
        {.id = u"system"_s, .label = Texts::tr("System tab"), .badge = Texts::tr("SYSTEM")},
        {.id = u"clipboard"_s,
         .label = Texts::tr("Clipboard tab"),
         .badge = Texts::tr("CLIPBOARD")},
    };
    for (const ProviderDefinition& row : registry.visible())
        targets.append(target(row.id, row.name));
    return targets;
}
