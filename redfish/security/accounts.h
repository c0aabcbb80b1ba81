// The accounts of the service, kept in a file that only its user can read. Checking a
// password is left to authenticator.h. Thread of the connections only.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace redfish {

enum class Role : std::uint8_t { administrator, operatorRole, readOnly };

std::string_view nameOf(Role role);                   // "Administrator", "Operator", "ReadOnly"
std::optional<Role> roleNamed(std::string_view name); // compared exactly

struct Account {
    std::string name; // also its id: of the characters that isAccountName allows
    Role role = Role::readOnly;
    bool isEnabled = true;
    std::string hash; // of the password
};

inline constexpr std::size_t kShortestPassword = 8;
inline constexpr std::size_t kLongestPassword = 128;
inline constexpr std::size_t kMaxAccounts = 32;

// 1 to 32 letters, digits, dots, hyphens and underscores, a letter or digit first.
bool isAccountName(std::string_view name);

// Every change is on the disk when the call returns: a new file beside the old one, synced,
// then renamed. A change that cannot be written is undone and throws std::runtime_error.
class Accounts {
public:
    // Reads the file; where it is missing there are none. Throws std::runtime_error for a
    // file that others may read, or that makes no sense.
    explicit Accounts(std::filesystem::path file);

    const std::vector<Account>& all() const { return accounts_; }
    const Account* find(std::string_view name) const; // null: there is none

    // Adds the account, or replaces the one of the same name.
    void put(const Account& account);
    void remove(std::string_view name);

    // Whether another enabled administrator is there, so that this one may go.
    bool hasOtherAdministrator(std::string_view name) const;

private:
    void read();
    void write(const std::vector<Account>& accounts) const;

    std::filesystem::path file_;
    std::vector<Account> accounts_;
};

} // namespace redfish
