// The table of roles. Which privilege a resource asks for is left to the service's routes.
#include "redfish/security/privileges.h"

#include <array>

namespace redfish {

namespace {

// clang-format off
//                        privilege                         Administrator  Operator  ReadOnly
struct Row {
    std::string_view name;
    std::array<bool, 3> has;
};
constexpr std::array<Row, 6> kRows{{
    {.name = "",                    .has = {true,          true,     true}},
    {.name = "Login",               .has = {true,          true,     true}},
    {.name = "ConfigureManager",    .has = {true,          false,    false}},
    {.name = "ConfigureUsers",      .has = {true,          false,    false}},
    {.name = "ConfigureComponents", .has = {true,          true,     false}},
    {.name = "ConfigureSelf",       .has = {true,          true,     true}},
}};
// clang-format on

} // namespace

bool hasPrivilege(Role role, Privilege privilege) {
    return kRows.at(static_cast<std::size_t>(privilege)).has.at(static_cast<std::size_t>(role));
}

std::string_view nameOf(Privilege privilege) {
    return kRows.at(static_cast<std::size_t>(privilege)).name;
}

} // namespace redfish
