// The accounts of the service, kept in a file that only its owner can read. Passwords are stored as
// hashes (passwords.h). Thread of the loop only.
#pragma once

#include "redfish/model/roles.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace redfish {

struct Account {
    // Identifies the account; isAccountName() says which characters it may have.
    std::string name;
    model::Role role = model::Role::readOnly;
    bool isEnabled = true;
    // Of the password.
    std::string hash;
};

// Characters of a password.
inline constexpr std::size_t kMinPasswordLength = 8;
inline constexpr std::size_t kMaxPasswordLength = 128;
inline constexpr std::size_t kMaxAccounts = 32;

// 1 to 32 letters, digits, dots, hyphens and underscores, beginning with a letter or a digit, so
// that a name needs no escape in an address. Any thread.
bool isAccountName(std::string_view name);

// Every change is on disk when the call returns: written to a new file beside the old one, synced
// and renamed. A change that cannot be written is undone and throws std::runtime_error.
class Accounts {
public:
    // Reads the file; without one there are no accounts. Throws std::runtime_error for a file that
    // others may read or that cannot be understood.
    explicit Accounts(std::filesystem::path file);

    // All accounts, oldest first. Valid until the next change.
    const std::vector<Account>& all() const { return accounts_; }
    // The account of a name, compared exactly; null if there is none. Valid until the next change.
    const Account* find(std::string_view name) const;

    // Adds the account, or replaces the one of the same name.
    void put(const Account& account);
    // Removes the account; nothing happens if there is none of that name.
    void remove(std::string_view name);

    // Whether another account is an enabled administrator, so that this one may go.
    bool hasOtherAdministrator(std::string_view name) const;

private:
    void read();
    void write(const std::vector<Account>& accounts) const;

    std::filesystem::path file_;
    std::vector<Account> accounts_;
};

} // namespace redfish
