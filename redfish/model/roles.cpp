#include "redfish/model/roles.h"

#include <algorithm>
#include <array>

namespace redfish::model {

namespace {

constexpr std::array<std::string_view, 6> kPrivilegeNames{
    "", "Login", "ConfigureManager", "ConfigureUsers", "ConfigureComponents", "ConfigureSelf"};

constexpr std::array kAdministrator{Privilege::login, Privilege::configureManager,
                                    Privilege::configureUsers, Privilege::configureComponents,
                                    Privilege::configureSelf};
constexpr std::array kOperator{Privilege::login, Privilege::configureComponents,
                               Privilege::configureSelf};
constexpr std::array kReader{Privilege::login, Privilege::configureSelf};

constexpr std::array kEntries{
    RoleEntry{Role::administrator, "Administrator",
              "Reads and changes everything, accounts included.", kAdministrator},
    RoleEntry{Role::operatorRole, "Operator",
              "Reads everything, changes settings and its own password.", kOperator},
    RoleEntry{Role::readOnly, "ReadOnly", "Reads everything, changes only its own password.",
              kReader},
};

constexpr bool rolesAreInOrder() {
    for (std::size_t i = 0; i < kEntries.size(); ++i) {
        if (static_cast<std::size_t>(kEntries.at(i).role) != i) {
            return false;
        }
    }
    return true;
}
static_assert(rolesAreInOrder(), "a row that is not where its enumerator says");

const RoleEntry& entryOf(Role role) {
    return kEntries.at(static_cast<std::size_t>(role));
}

} // namespace

std::span<const RoleEntry> roles() {
    return kEntries;
}

const RoleEntry* findRole(std::string_view id) {
    const auto* const row = std::find_if(kEntries.begin(), kEntries.end(),
                                         [id](const RoleEntry& each) { return each.id == id; });
    return row == kEntries.end() ? nullptr : row;
}

std::string_view nameOf(Role role) {
    return entryOf(role).id;
}

std::optional<Role> roleNamed(std::string_view id) {
    const RoleEntry* const row = findRole(id);
    return row == nullptr ? std::nullopt : std::optional(row->role);
}

std::string_view nameOf(Privilege privilege) {
    return kPrivilegeNames.at(static_cast<std::size_t>(privilege));
}

bool hasPrivilege(Role role, Privilege privilege) {
    const std::span<const Privilege> has = entryOf(role).privileges;
    return privilege == Privilege::none ||
           std::find(has.begin(), has.end(), privilege) != has.end();
}

} // namespace redfish::model
