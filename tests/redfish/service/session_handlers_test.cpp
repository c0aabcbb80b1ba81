#include "redfish/service/session_handlers.h"

#include "redfish/model/addresses.h"
#include "tests/redfish/service/handlers_fixture.h"

namespace {

using redfish::Method;
using redfish::Response;
using redfish::model::kSessions;

const std::string kAllSessions(kSessions);

class TheSessionHandlers : public test::HandlersFixture {
protected:
    Response post(const std::string& name, const std::string& password) {
        return send(handlers.routes(), Method::post, kAllSessions, {},
                    R"({"UserName":")" + name + R"(","Password":")" + password + "\"}");
    }
    Response get(const std::string& path, const std::string& user) {
        return ask(handlers.routes(), Method::get, path, as(user));
    }
    Response remove(const std::string& id, const std::string& user) {
        return ask(handlers.routes(), Method::remove, kAllSessions + "/" + id, as(user));
    }
    Response patchService(std::string_view body) {
        return send(handlers.routes(), Method::patch, std::string(redfish::model::kSessionService),
                    as("admin"), body);
    }
    bool isThere(const std::string& id) {
        return sessions.find(id, redfish::Clock::now()) != nullptr;
    }

    redfish::SessionHandlers handlers{sessions, accounts, authenticator, facts};
};

TEST_F(TheSessionHandlers, SignInWithTheRightPassword) {
    const Response response = post("worker", kPassword);
    EXPECT_EQ(response.status, 201U);
    const std::string location = test::headerOf(response, "Location");
    EXPECT_EQ(test::jsonOf(response)["@odata.id"], location);
    EXPECT_EQ(test::jsonOf(response)["UserName"], "worker");
    const auto* const session =
        sessions.use(test::headerOf(response, "X-Auth-Token"), redfish::Clock::now());
    ASSERT_NE(session, nullptr);
    EXPECT_EQ(kAllSessions + "/" + session->id, location);
}

TEST_F(TheSessionHandlers, RefuseWrongPasswordsAndStrangersAlike) {
    const Response wrong = post("worker", "wrong-password");
    const Response stranger = post("nobody", "wrong-password");
    EXPECT_EQ(wrong.status, 401U);
    EXPECT_EQ(test::bodyOf(wrong), test::bodyOf(stranger));
    EXPECT_TRUE(sessions.all(redfish::Clock::now()).empty());
}

TEST_F(TheSessionHandlers, RefuseABodyWithoutAPassword) {
    const Response response =
        send(handlers.routes(), Method::post, kAllSessions, {}, R"({"UserName":"a"})");
    EXPECT_EQ(response.status, 400U);
    EXPECT_EQ(test::messageOf(response), "PropertyMissing");
}

TEST_F(TheSessionHandlers, RefuseASessionTooMany) {
    for (int i = 0; i < 3; ++i) {
        signIn("worker");
    }
    const Response response = post("worker", kPassword);
    EXPECT_EQ(response.status, 503U);
    EXPECT_EQ(test::messageOf(response), "SessionLimitExceeded");
}

TEST_F(TheSessionHandlers, ShowAUserOnlyHisOwn) {
    const auto own = signIn("worker");
    const auto other = signIn("looker");
    EXPECT_EQ(test::jsonOf(get(kAllSessions, "worker"))["Members@odata.count"], 1);
    EXPECT_EQ(get(kAllSessions + "/" + own.id, "worker").status, 200U);
    EXPECT_EQ(get(kAllSessions + "/" + other.id, "worker").status, 404U);
    EXPECT_EQ(test::jsonOf(get(kAllSessions, "admin"))["Members@odata.count"], 2);
    EXPECT_EQ(get(kAllSessions + "/" + other.id, "admin").status, 200U);
    EXPECT_EQ(get(kAllSessions + "/none", "admin").status, 404U);
}

TEST_F(TheSessionHandlers, EndOwnSessionsAndForTheAdministratorAll) {
    const auto own = signIn("worker");
    const auto other = signIn("looker");
    EXPECT_EQ(remove(other.id, "worker").status, 404U);
    EXPECT_TRUE(isThere(other.id));
    EXPECT_EQ(remove(own.id, "worker").status, 204U);
    EXPECT_FALSE(isThere(own.id));
    EXPECT_EQ(remove(other.id, "admin").status, 204U);
    EXPECT_FALSE(isThere(other.id));
}

TEST_F(TheSessionHandlers, ChangeHowLongASessionMayBeIdle) {
    const Response response = patchService(R"({"SessionTimeout":90})");
    EXPECT_EQ(response.status, 200U);
    EXPECT_EQ(test::jsonOf(response)["SessionTimeout"], 90);
    EXPECT_EQ(sessions.idleLimit(), std::chrono::seconds(90));
    EXPECT_EQ(patchService(R"({"SessionTimeout":1})").status, 400U);
    EXPECT_EQ(sessions.idleLimit(), std::chrono::seconds(90));
}

TEST_F(TheSessionHandlers, FindDocumentsForExpansion) {
    const auto own = signIn("worker");
    EXPECT_TRUE(handlers.document(as("worker"), kAllSessions));
    EXPECT_TRUE(handlers.document(as("worker"), kAllSessions + "/" + own.id));
    EXPECT_FALSE(handlers.document(as("looker"), kAllSessions + "/" + own.id));
    EXPECT_FALSE(handlers.document(as("worker"), redfish::model::kAccounts));
}

} // namespace
