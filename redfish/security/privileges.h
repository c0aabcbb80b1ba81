// What a role may do: the privileges of the Redfish standard that each role has.
#pragma once

#include "redfish/security/accounts.h"

#include <cstdint>
#include <string_view>

namespace redfish {

enum class Privilege : std::uint8_t {
    none, // open to everyone, signed in or not
    login,
    configureManager,
    configureUsers,
    configureComponents,
    configureSelf,
};

bool hasPrivilege(Role role, Privilege privilege);

// As the standard spells it: "ConfigureManager"; "" for none.
std::string_view nameOf(Privilege privilege);

} // namespace redfish
