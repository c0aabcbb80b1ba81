// Checks of bodies for sessions and accounts: form, types, values. Whether the account exists, the
// password is right and the caller may do it is for the service to find out. Any thread.
#pragma once

#include "redfish/model/body.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace redfish::model {

// A name and a password as sent; neither has been compared with an account.
struct Credentials {
    std::string userName;
    std::string password;
};

// What the service requires of accounts.
struct AccountRules {
    // In characters, not bytes.
    std::size_t minPasswordLength = 8;
    std::size_t maxPasswordLength = 128;
    // Null: any name is good.
    bool (*isAccountName)(std::string_view) = nullptr;
};

// An account to create.
struct NewAccount {
    std::string userName;
    std::string password;
    // Of a row of roles.h.
    std::string roleId;
    bool isEnabled = true;
};

// What to change; empty members stay as they are.
struct AccountChange {
    std::optional<std::string> password;
    std::optional<std::string> roleId;
    std::optional<bool> isEnabled;
    // "Locked" was set to false.
    bool unlocks = false;
};

// POST on the sessions: both texts are required.
Checked<Credentials> checkNewSession(std::string_view body);

// POST on the accounts: name, password and role are required.
Checked<NewAccount> checkNewAccount(std::string_view body, const AccountRules& rules);

// PATCH of an account: at least one change. "Locked" can be set to false only.
Checked<AccountChange> checkAccountPatch(std::string_view body, const AccountRules& rules);

// PATCH of the session service: how long a session may be idle, 30 s to a day.
Checked<std::chrono::seconds> checkSessionServicePatch(std::string_view body);

} // namespace redfish::model
