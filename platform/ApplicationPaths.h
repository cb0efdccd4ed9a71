#pragma once

#include <QString>

/// Where the program keeps and finds its files.
struct ApplicationPaths {
    QString supportDirectory; // the program's data; need not exist yet
    QString preferencesFile;
    QString resources; // what came with the program, read only
    QString helpers; // the programs that came with it

    /// The user's own places, or with `demo` a set beside them that shares nothing with them.
    /// Resources and helpers are found from the running executable's place. Needs the application
    /// object.
    [[nodiscard]] static ApplicationPaths find(bool demo);
};
