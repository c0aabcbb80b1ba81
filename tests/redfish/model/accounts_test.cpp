#include "redfish/model/accounts.h"
#include "tests/redfish/model/problems.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using namespace redfish::model;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

bool isLowerCase(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(),
                                        [](char each) { return each >= 'a' && each <= 'z'; });
}

constexpr AccountRules kAccountRules{8, 12, isLowerCase};

TEST(NewSession, TakesUserAndPassword) {
    const auto checked = checkNewSession(R"({"UserName":"admin","Password":"x","@odata.id":""})");
    EXPECT_THAT(linesOf(checked.problems), IsEmpty());
    EXPECT_EQ(checked.value.userName, "admin");
    EXPECT_EQ(checked.value.password, "x");
}

TEST(NewSession, RefusesMissingWrongAndUnknownMembers) {
    EXPECT_THAT(linesOf(checkNewSession("{}").problems),
                ElementsAre("PropertyMissing [UserName] #/UserName",
                            "PropertyMissing [Password] #/Password"));
    EXPECT_THAT(linesOf(checkNewSession(R"({"UserName":1,"Password":2,"Token":"t"})").problems),
                UnorderedElementsAre("PropertyValueTypeError [1] [UserName] #/UserName",
                                     "PropertyValueError [Password] #/Password",
                                     "PropertyUnknown [Token] #/Token"));
    EXPECT_THAT(linesOf(checkNewSession("").problems), ElementsAre("UnrecognizedRequestBody"));
    EXPECT_THAT(linesOf(checkNewSession("x").problems), ElementsAre("MalformedJSON"));
}

TEST(NewAccount, TakesWhatAnAccountNeeds) {
    auto checked = checkNewAccount(
        R"({"UserName":"joe","Password":"12345678","RoleId":"Operator"})", kAccountRules);
    EXPECT_THAT(linesOf(checked.problems), IsEmpty());
    EXPECT_EQ(checked.value.userName, "joe");
    EXPECT_EQ(checked.value.password, "12345678");
    EXPECT_EQ(checked.value.roleId, "Operator");
    EXPECT_TRUE(checked.value.isEnabled);
    checked = checkNewAccount(
        R"({"UserName":"joe","Password":"12345678","RoleId":"Operator","Enabled":false})",
        kAccountRules);
    EXPECT_FALSE(checked.value.isEnabled);
}

TEST(NewAccount, ReportsEveryProblem) {
    EXPECT_THAT(
        linesOf(checkNewAccount(R"({"UserName":"J O","Password":"short","RoleId":"Root","Id":"x"})",
                                kAccountRules)
                    .problems),
        UnorderedElementsAre("PropertyValueFormatError [\"J O\"] [UserName] #/UserName",
                             "PasswordLength [8] [12] #/Password",
                             "PropertyValueNotInList [\"Root\"] [RoleId] #/RoleId",
                             "PropertyNotWritable [Id] #/Id"));
    EXPECT_THAT(linesOf(checkNewAccount("{}", kAccountRules).problems), testing::SizeIs(3));
    EXPECT_THAT(linesOf(checkNewAccount("[]", kAccountRules).problems),
                ElementsAre("UnrecognizedRequestBody"));
}

TEST(NewAccount, CountsTheCharactersOfAPassword) {
    struct {
        std::string password;
        const char* line; // null: accepted
    } const cases[] = {
        {"1234567", "PasswordLength [8] [12] #/Password"},
        {"12345678", nullptr},
        {"123456789012", nullptr},
        {"1234567890123", "PasswordLength [8] [12] #/Password"},
        {"\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4", "PasswordLength [8] [12] #/Password"},
        {std::string("1234\0005678", 9), "PropertyValueError [Password] #/Password"},
    };
    for (const auto& each : cases) {
        const Json body{{"UserName", "joe"}, {"Password", each.password}, {"RoleId", "ReadOnly"}};
        const auto lines = linesOf(checkNewAccount(body.dump(), kAccountRules).problems);
        if (each.line == nullptr) {
            EXPECT_THAT(lines, IsEmpty()) << body;
        } else {
            EXPECT_THAT(lines, ElementsAre(each.line)) << body;
        }
    }
}

TEST(AccountPatch, ReportsTheRequestedChanges) {
    auto change = checkAccountPatch(R"({"Password":"12345678"})", kAccountRules).value;
    EXPECT_EQ(change.password, "12345678");
    EXPECT_EQ(change.roleId, std::nullopt);
    EXPECT_EQ(change.isEnabled, std::nullopt);
    EXPECT_FALSE(change.unlocks);
    change =
        checkAccountPatch(R"({"RoleId":"ReadOnly","Enabled":false,"Locked":false})", kAccountRules)
            .value;
    EXPECT_EQ(change.password, std::nullopt);
    EXPECT_EQ(change.roleId, "ReadOnly");
    EXPECT_EQ(change.isEnabled, false);
    EXPECT_TRUE(change.unlocks);
}

TEST(AccountPatch, RefusesWhatCannotBeChanged) {
    struct {
        const char* body;
        const char* line;
    } const cases[] = {
        {R"({"UserName":"other"})", "PropertyNotWritable [UserName] #/UserName"},
        {R"({"Locked":true})", "PropertyValueNotInList [true] [Locked] #/Locked"},
        {R"({"Locked":1})", "PropertyValueTypeError [1] [Locked] #/Locked"},
        {R"({"Enabled":"no"})", "PropertyValueTypeError [\"no\"] [Enabled] #/Enabled"},
        {R"({"RoleId":"administrator"})",
         "PropertyValueNotInList [\"administrator\"] [RoleId] #/RoleId"},
        {R"({"Password":null})", "PropertyValueError [Password] #/Password"},
        {R"({"Password":"secret"})", "PasswordLength [8] [12] #/Password"},
        {R"({"Oem":{}})", "NoOperation"},
        {R"({})", "EmptyJSON"},
    };
    for (const auto& each : cases) {
        EXPECT_THAT(linesOf(checkAccountPatch(each.body, kAccountRules).problems),
                    ElementsAre(each.line))
            << each.body;
    }
}

TEST(SessionServicePatch, SetsHowLongASessionMayBeIdle) {
    EXPECT_EQ(checkSessionServicePatch(R"({"SessionTimeout":30})").value.count(), 30);
    EXPECT_EQ(checkSessionServicePatch(R"({"SessionTimeout":86400})").value.count(), 86400);
}

TEST(SessionServicePatch, RefusesEverythingElse) {
    struct {
        const char* body;
        const char* line;
    } const cases[] = {
        {R"({"SessionTimeout":29})",
         "PropertyValueOutOfRange [29] [SessionTimeout] #/SessionTimeout"},
        {R"({"SessionTimeout":86401})",
         "PropertyValueOutOfRange [86401] [SessionTimeout] #/SessionTimeout"},
        {R"({"SessionTimeout":"60"})",
         "PropertyValueTypeError [\"60\"] [SessionTimeout] #/SessionTimeout"},
        {R"({"ServiceEnabled":false})", "PropertyNotWritable [ServiceEnabled] #/ServiceEnabled"},
        {R"({"Other":1})", "PropertyUnknown [Other] #/Other"},
        {R"({"Oem":{}})", "NoOperation"},
    };
    for (const auto& each : cases) {
        EXPECT_THAT(linesOf(checkSessionServicePatch(each.body).problems), ElementsAre(each.line))
            << each.body;
    }
}

} // namespace
