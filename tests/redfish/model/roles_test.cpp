#include "redfish/model/roles.h"

#include "redfish/model/services.h"

#include <gmock/gmock.h>

namespace {

using namespace redfish::model;

TEST(Privileges, AreThoseOfTheRoles) {
    for (const Role role : {Role::administrator, Role::operatorRole, Role::readOnly}) {
        EXPECT_TRUE(hasPrivilege(role, Privilege::login));
        EXPECT_TRUE(hasPrivilege(role, Privilege::configureSelf));
    }
    EXPECT_TRUE(hasPrivilege(Role::operatorRole, Privilege::configureComponents));
    EXPECT_FALSE(hasPrivilege(Role::readOnly, Privilege::configureComponents));
    EXPECT_FALSE(hasPrivilege(Role::operatorRole, Privilege::configureUsers));
    EXPECT_FALSE(hasPrivilege(Role::operatorRole, Privilege::configureManager));
    EXPECT_TRUE(hasPrivilege(Role::administrator, Privilege::configureUsers));
    EXPECT_EQ(nameOf(Privilege::configureUsers), "ConfigureUsers");
}

TEST(Roles, HaveThePrivilegesOfTheStandard) {
    EXPECT_THAT(role(*findRole("Administrator"))["AssignedPrivileges"],
                testing::UnorderedElementsAre("Login", "ConfigureManager", "ConfigureUsers",
                                              "ConfigureComponents", "ConfigureSelf"));
    EXPECT_THAT(role(*findRole("Operator"))["AssignedPrivileges"],
                testing::UnorderedElementsAre("Login", "ConfigureComponents", "ConfigureSelf"));
    EXPECT_THAT(role(*findRole("ReadOnly"))["AssignedPrivileges"],
                testing::UnorderedElementsAre("Login", "ConfigureSelf"));
    EXPECT_EQ(findRole("readonly"), nullptr);
}

TEST(Roles, AreFoundByTheirIds) {
    for (const RoleEntry& entry : roles()) {
        EXPECT_EQ(roleNamed(entry.id), entry.role);
        EXPECT_EQ(nameOf(entry.role), entry.id);
        EXPECT_TRUE(hasPrivilege(entry.role, Privilege::none)) << entry.id;
    }
    EXPECT_EQ(roleNamed("administrator"), std::nullopt);
    EXPECT_EQ(roleNamed(""), std::nullopt);
}

} // namespace
