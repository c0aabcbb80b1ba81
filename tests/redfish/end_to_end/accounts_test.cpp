// Accounts and sessions, read, changed and removed over HTTPS.
#include "redfish/model/addresses.h"
#include "tests/redfish/end_to_end/redfish_process.h"
#include "tests/support/redis_server.h"

#include <gmock/gmock.h>

namespace {

using test::HttpAnswer;
using testing::HasSubstr;
using testing::Not;

const std::string kAllAccounts(redfish::model::kAccounts);
const std::string kJane = kAllAccounts + "/jane";
const std::string kAllSessions(redfish::model::kSessions);
const std::string kSessionService(redfish::model::kSessionService);
const std::string kPassword = "Kept-Secret-1";

class TheAccounts : public testing::Test {
protected:
    TheAccounts() {
        const HttpAnswer made = service.send("POST", kAllAccounts,
                                             R"({"UserName":"jane","Password":")" + kPassword +
                                                 R"(","RoleId":"Operator"})");
        EXPECT_EQ(made.status, 201);
        EXPECT_EQ(made.headers.at("location"), kJane);
    }
    std::vector<std::string> signIn(const std::string& password = kPassword) const {
        return {"--header",
                "X-Auth-Token: " + service.signIn("jane", password).headers.at("x-auth-token")};
    }
    HttpAnswer asJane(const std::vector<std::string>& token, const std::string& path) const {
        return service.askAsStranger("GET", path, token);
    }

    test::RedisServer store;
    test::RedfishProcess service{store.address()};
};

TEST_F(TheAccounts, AreVisibleToTheirOwnersAndToAdministrators) {
    const std::vector<std::string> token = signIn();
    EXPECT_THAT(service.ask("GET", kAllAccounts).body, HasSubstr("Accounts/admin"));
    EXPECT_THAT(asJane(token, kAllAccounts).body, Not(HasSubstr("Accounts/admin")));
    EXPECT_THAT(asJane(token, kJane).body, HasSubstr(R"("RoleId":"Operator")"));
    EXPECT_EQ(asJane(token, kAllAccounts + "/admin").status, 404);
    EXPECT_EQ(service.ask("GET", kAllAccounts + "/nobody").status, 404);
    EXPECT_THAT(service.ask("GET", kAllAccounts + "?$expand=*").body,
                HasSubstr(R"("UserName":"jane")"));
    EXPECT_THAT(service.ask("GET", kAllSessions + "?$expand=*").body,
                HasSubstr(R"("UserName":"jane")"));
    EXPECT_THAT(service.ask("GET", std::string(redfish::model::kServiceRoot) + "?$expand=*").body,
                HasSubstr(R"("SessionTimeout")"));
}

TEST_F(TheAccounts, KeepTheSessionThatChangesTheirPasswordAndEndTheOthers) {
    const std::vector<std::string> token = signIn();
    const std::vector<std::string> other = signIn();
    std::vector<std::string> change = token;
    change.insert(change.end(), {"--header", "Content-Type: application/json", "--data",
                                 R"({"Password":"Another-Secret-2"})"});
    EXPECT_EQ(service.askAsStranger("PATCH", kJane, change).status, 200);
    EXPECT_EQ(asJane(token, kJane).status, 200);
    EXPECT_EQ(asJane(other, kJane).status, 401);
    EXPECT_EQ(service.signIn("jane", kPassword).status, 401);
    EXPECT_EQ(service.signIn("jane", "Another-Secret-2").status, 201);
}

TEST_F(TheAccounts, AreSignedOutWhenDisabledOrRemoved) {
    const std::vector<std::string> token = signIn();
    EXPECT_EQ(service.send("PATCH", kJane, R"({"Enabled":false})").status, 200);
    EXPECT_EQ(asJane(token, kJane).status, 401);
    EXPECT_EQ(service.send("PATCH", kJane, R"({"Enabled":true,"RoleId":"ReadOnly"})").status, 200);
    const std::vector<std::string> again = signIn();
    EXPECT_THAT(asJane(again, kJane).body, HasSubstr(R"("RoleId":"ReadOnly")"));
    EXPECT_EQ(service.ask("DELETE", kJane).status, 200);
    EXPECT_EQ(asJane(again, kJane).status, 401);
    EXPECT_EQ(service.ask("DELETE", kJane).status, 404);
}

TEST_F(TheAccounts, StayUnchangedIfAChangeIsRefused) {
    const std::string before = service.ask("GET", kJane).body;
    EXPECT_EQ(service.send("PATCH", kJane, R"({"RoleId":"King"})").status, 400);
    EXPECT_EQ(service.send("PATCH", kAllAccounts + "/nobody", R"({"Enabled":false})").status, 404);
    EXPECT_EQ(service
                  .send("PATCH", kJane, R"({"Enabled":false})",
                        {"--header", "If-Match: \"of-another-time\""})
                  .status,
              412);
    EXPECT_EQ(service.ask("GET", kJane).body, before);
}

TEST_F(TheAccounts, HaveSessionsThatEndAfterTheConfiguredTime) {
    EXPECT_EQ(service.send("PATCH", kSessionService, R"({"SessionTimeout":600})").status, 200);
    EXPECT_THAT(service.ask("GET", kSessionService).body, HasSubstr(R"("SessionTimeout":600)"));
    EXPECT_EQ(service.send("PATCH", kSessionService, R"({"SessionTimeout":"long"})").status, 400);
    EXPECT_EQ(service.ask("GET", kAllSessions + "/unknown").status, 404);
    EXPECT_EQ(service.ask("DELETE", kAllSessions + "/unknown").status, 404);
    EXPECT_EQ(service.send("POST", kAllSessions, R"({"UserName":1})").status, 400);
}

} // namespace
