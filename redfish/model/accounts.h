// Bodies of requests for sessions and accounts, checked. Whether the account exists, the
// password is right and the user may do it is left to the caller.
#pragma once

#include "redfish/model/body.h"

#include <chrono>
#include <optional>

namespace redfish::model {

struct Credentials {
    std::string userName;
    std::string password;
};

// What the service asks of accounts.
struct AccountRules {
    std::size_t minPasswordLength = 8; // characters
    std::size_t maxPasswordLength = 128;
    bool (*isAccountName)(std::string_view) = nullptr;
};

struct NewAccount {
    std::string userName;
    std::string password;
    std::string roleId; // of a predefined role
    bool isEnabled = true;
};

// What is to be changed; empty: left as it is.
struct AccountChange {
    std::optional<std::string> password;
    std::optional<std::string> roleId;
    std::optional<bool> isEnabled;
    bool unlocks = false;
};

// POST on the sessions.
Checked<Credentials> checkNewSession(std::string_view body);

// POST on the accounts.
Checked<NewAccount> checkNewAccount(std::string_view body, const AccountRules& rules);

// PATCH of an account. "Locked" can be written as false only.
Checked<AccountChange> checkAccountPatch(std::string_view body, const AccountRules& rules);

// PATCH of the session service: how long a session may be idle, 30 s to a day.
Checked<std::chrono::seconds> checkSessionServicePatch(std::string_view body);

} // namespace redfish::model
