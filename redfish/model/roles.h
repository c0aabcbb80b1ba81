// The roles of an account and the privileges of the Redfish standard that each one has: one table,
// from which rights are checked and the documents of the roles are made. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace redfish::model {

enum class Role : std::uint8_t { administrator, operatorRole, readOnly };

enum class Privilege : std::uint8_t {
    none, // open to everyone, signed in or not
    login,
    configureManager,
    configureUsers,
    configureComponents,
    configureSelf,
};

// One row of the table.
struct RoleEntry {
    Role role;
    std::string_view id; // as the standard spells it: "Administrator"
    std::string_view description;
    std::span<const Privilege> privileges; // without `none`, which all have
};

// All roles, in the order of the enumeration. Lives as long as the program.
std::span<const RoleEntry> roles();

// The row of an id, compared exactly; null if there is none.
const RoleEntry* findRole(std::string_view id);

// The id of a role: "Administrator", "Operator", "ReadOnly".
std::string_view nameOf(Role role);

// The role of an id, compared exactly.
std::optional<Role> roleNamed(std::string_view id);

// As the standard spells it: "ConfigureManager"; "" for none.
std::string_view nameOf(Privilege privilege);

// Whether a role has a privilege; every role has `none`.
bool hasPrivilege(Role role, Privilege privilege);

} // namespace redfish::model
