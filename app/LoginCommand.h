#pragma once

#include <QString>

class LoginItem;

/// What came of switching the start at login on or off, in one line for the user.
struct LoginOutcome {
    bool succeeded = false;
    QString text;
};

[[nodiscard]] LoginOutcome enableLogin(LoginItem& item);
[[nodiscard]] LoginOutcome disableLogin(LoginItem& item);

/// `--enable-login` and `--disable-login`: does it and prints the line. Gives 0 or 1.
[[nodiscard]] int runLogin(LoginItem& item, bool enables);
