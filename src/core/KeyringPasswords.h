// Where an account keeps its passwords: in Corva.ini as typed (the default),
// or in the desktop keyring when its user ticked that (key KEYRING<n> set).
// Both the POP3 password (PWD) and the SMTP one (SMTPPWD) follow the choice.
#pragma once

#include "core/Account.h"

#include <string>

namespace corva {

bool PasswordsInKeyring(const Account& account);
// A password by its key name, "PWD" or "SMTPPWD", from wherever it is kept.
// A keyring that can't be read gives "" (the session then asks for it).
std::string ReadPassword(const Account& account, const std::string& name);
// Keeps a password where the account keeps them; "" when it worked, else why.
std::string WritePassword(const Account& account, const std::string& name,
                          const std::string& value);
// Moves both passwords into the keyring (on) or back into Corva.ini (off).
// "" when it worked; else why, and the passwords stay where they were.
std::string KeepPasswordsInKeyring(const Account& account, bool on);

} // namespace corva
