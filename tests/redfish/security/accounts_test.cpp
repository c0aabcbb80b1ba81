#include "redfish/security/accounts.h"

#include "tests/support/temporary_folder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using redfish::Account;
using redfish::Accounts;
using redfish::model::Role;

class TheAccounts : public testing::Test {
protected:
    std::filesystem::path file() const { return folder.path() / "accounts.json"; }
    static Account account(const std::string& name, Role role, bool isEnabled = true) {
        return {.name = name, .role = role, .isEnabled = isEnabled, .hash = "$y$hash-of-" + name};
    }

    test::TemporaryFolder folder;
};

TEST_F(TheAccounts, SurviveARestart) {
    {
        Accounts accounts(file());
        EXPECT_TRUE(accounts.all().empty());
        accounts.put(account("admin", Role::administrator));
        accounts.put(account("look", Role::readOnly, false));
        accounts.put(account("gone", Role::operatorRole));
        accounts.remove("gone");
    }
    const Accounts accounts(file());
    ASSERT_EQ(accounts.all().size(), 2U);
    ASSERT_NE(accounts.find("look"), nullptr);
    EXPECT_EQ(accounts.find("look")->role, Role::readOnly);
    EXPECT_FALSE(accounts.find("look")->isEnabled);
    EXPECT_EQ(accounts.find("admin")->hash, "$y$hash-of-admin");
    EXPECT_EQ(accounts.find("gone"), nullptr);
}

TEST_F(TheAccounts, AreReplacedByName) {
    Accounts accounts(file());
    accounts.put(account("admin", Role::administrator));
    accounts.put(account("admin", Role::operatorRole));
    ASSERT_EQ(accounts.all().size(), 1U);
    EXPECT_EQ(accounts.all()[0].role, Role::operatorRole);
}

TEST_F(TheAccounts, LieInAFileOfTheirOwnersOnly) {
    Accounts accounts(file());
    accounts.put(account("admin", Role::administrator));
    struct stat status {};
    ASSERT_EQ(::stat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_FALSE(std::filesystem::exists(file().string() + ".new"));
}

TEST_F(TheAccounts, AreRefusedWhereOthersMayReadThem) {
    Accounts(file()).put(account("admin", Role::administrator));
    std::filesystem::permissions(file(), std::filesystem::perms::group_read,
                                 std::filesystem::perm_options::add);
    EXPECT_THROW(Accounts{file()}, std::runtime_error);
}

TEST_F(TheAccounts, AreRefusedWhereTheyMakeNoSense) {
    for (const char* const text :
         {"", "[]", "{}", R"({"accounts":[{"name":"a"}]})",
          R"({"accounts":[{"name":"a","role":"King","enabled":true,"hash":"$y$"}]})",
          R"({"accounts":[{"name":"../a","role":"ReadOnly","enabled":true,"hash":"$y$"}]})"}) {
        test::writeFile(file(), text);
        std::filesystem::permissions(file(), std::filesystem::perms::owner_read);
        EXPECT_THROW(Accounts{file()}, std::runtime_error) << text;
        std::filesystem::remove(file());
    }
}

TEST_F(TheAccounts, KeepWhatTheyHaveWhenAChangeCannotBeWritten) {
    Accounts accounts(folder.path() / "missing" / "accounts.json");
    EXPECT_THROW(accounts.put(account("admin", Role::administrator)), std::runtime_error);
    EXPECT_TRUE(accounts.all().empty());
}

TEST_F(TheAccounts, KnowWhetherAnotherAdministratorIsThere) {
    Accounts accounts(file());
    accounts.put(account("one", Role::administrator));
    accounts.put(account("off", Role::administrator, false));
    accounts.put(account("low", Role::operatorRole));
    EXPECT_FALSE(accounts.hasOtherAdministrator("one"));
    EXPECT_TRUE(accounts.hasOtherAdministrator("off"));
    accounts.put(account("two", Role::administrator));
    EXPECT_TRUE(accounts.hasOtherAdministrator("one"));
}

TEST(AnAccountName, HasCharactersThatNeedNoEscape) {
    for (const char* const good :
         {"a", "admin", "Jo.Doe-2_x", "7", "12345678901234567890123456789012"}) {
        EXPECT_TRUE(redfish::isAccountName(good)) << good;
    }
    for (const char* const bad :
         {"", ".a", "-a", "a b", "a/b", "ä", "a:b", "a\n", "123456789012345678901234567890123"}) {
        EXPECT_FALSE(redfish::isAccountName(bad)) << bad;
    }
}

} // namespace
