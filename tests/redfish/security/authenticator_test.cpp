#include "redfish/security/authenticator.h"

#include "redfish/security/passwords.h"
#include "tests/redfish/runtime/posted_work.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

namespace {

using redfish::Identification;
using redfish::Identity;
using redfish::model::Role;
using std::chrono::milliseconds;
using std::chrono::seconds;

class TheAuthenticator : public testing::Test {
protected:
    TheAuthenticator() {
        accounts.put({.name = "admin",
                      .role = Role::administrator,
                      .isEnabled = true,
                      .hash = redfish::hashPassword("secret")});
        accounts.put({.name = "off",
                      .role = Role::operatorRole,
                      .isEnabled = false,
                      .hash = redfish::hashPassword("secret")});
    }

    // Waits for the outcome. `checked` becomes true if a password had to be hashed.
    Identity check(const std::string& name, const std::string& password, bool& checked) {
        std::optional<Identity> answer;
        authenticator.checkPassword(name, password,
                                    [&](const Identity& identity) { answer = identity; });
        checked = !answer;
        if (!answer) {
            posted.runOne();
        }
        return answer.value_or(Identity{});
    }
    Identification check(const std::string& name, const std::string& password) {
        bool checked = false;
        return check(name, password, checked).result;
    }
    Identity identify(const redfish::Request& request) {
        std::optional<Identity> answer;
        authenticator.identify(request, [&](const Identity& identity) { answer = identity; });
        if (!answer) {
            posted.runOne();
        }
        return answer.value_or(Identity{});
    }

    test::TemporaryFolder folder;
    redfish::Accounts accounts{folder.path() / "accounts.json"};
    redfish::Sessions sessions{{}};
    test::PostedWork posted;
    redfish::WorkerPool checks{1, 2};
    redfish::Authenticator authenticator{
        accounts, sessions, checks, posted.post(), {.threshold = 3, .duration = seconds(1)}};
};

TEST_F(TheAuthenticator, TakesTheRightPasswordOnly) {
    EXPECT_EQ(check("admin", "secret"), Identification::signedIn);
    EXPECT_EQ(check("admin", "Secret"), Identification::refused);
    EXPECT_EQ(check("nobody", "secret"), Identification::refused);
    EXPECT_EQ(check("off", "secret"), Identification::refused);
    EXPECT_EQ(check("admin", std::string("secret\0x", 8)), Identification::refused);
}

TEST_F(TheAuthenticator, HashesARememberedPasswordOnlyOnce) {
    bool checked = false;
    EXPECT_EQ(check("admin", "secret", checked).role, Role::administrator);
    EXPECT_TRUE(checked);
    EXPECT_EQ(check("admin", "secret", checked).result, Identification::signedIn);
    EXPECT_FALSE(checked);
    authenticator.forget("admin");
    check("admin", "secret", checked);
    EXPECT_TRUE(checked) << "the account was changed";
}

TEST_F(TheAuthenticator, TakesAChangedRoleAtOnce) {
    bool checked = false;
    check("admin", "secret", checked);
    redfish::Account account = *accounts.find("admin");
    account.role = Role::readOnly;
    accounts.put(account);
    EXPECT_EQ(check("admin", "secret", checked).role, Role::readOnly);
}

TEST_F(TheAuthenticator, SharesOneCheckAmongEqualRequests) {
    int answered = 0;
    for (int i = 0; i < 10; ++i) {
        authenticator.checkPassword("admin", "secret", [&](const Identity& identity) {
            answered += identity.result == Identification::signedIn ? 1 : 0;
        });
    }
    EXPECT_EQ(answered, 0);
    posted.runOne();
    EXPECT_EQ(answered, 10);
}

TEST_F(TheAuthenticator, IsBusyWhenTooManyChecksWait) {
    int busy = 0;
    for (int i = 0; i < 10; ++i) {
        authenticator.checkPassword("admin", "wrong " + std::to_string(i),
                                    [&](const Identity& identity) {
                                        busy += identity.result == Identification::busy ? 1 : 0;
                                    });
    }
    EXPECT_GE(busy, 7); // one is checked, two wait
    for (int i = busy; i < 10; ++i) {
        posted.runOne();
    }
}

TEST_F(TheAuthenticator, LocksAnAccountAfterTooManyWrongPasswordsForATime) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(authenticator.isLocked("admin"));
        EXPECT_EQ(check("admin", "wrong"), Identification::refused);
    }
    EXPECT_TRUE(authenticator.isLocked("admin"));
    bool checked = true;
    EXPECT_EQ(check("admin", "secret", checked).result, Identification::refused);
    EXPECT_FALSE(checked);
    const auto end = redfish::Clock::now() + seconds(20);
    while (authenticator.isLocked("admin") && redfish::Clock::now() < end) {
        std::this_thread::sleep_for(milliseconds(20));
    }
    EXPECT_EQ(check("admin", "secret"), Identification::signedIn);
}

TEST_F(TheAuthenticator, ResetsItsCountAfterTheRightPassword) {
    check("admin", "wrong");
    check("admin", "wrong");
    check("admin", "secret");
    check("admin", "wrong");
    EXPECT_FALSE(authenticator.isLocked("admin"));
}

TEST_F(TheAuthenticator, DisregardsAChecksResultAfterAChange) {
    std::optional<Identity> answer;
    authenticator.checkPassword("admin", "secret", [&](const Identity& each) { answer = each; });
    authenticator.forget("admin");
    posted.runOne();
    EXPECT_EQ(answer.value().result, Identification::refused);
}

TEST_F(TheAuthenticator, ReadsTokensAndBasicCredentials) {
    EXPECT_EQ(identify({}).result, Identification::missing);
    redfish::Request request;
    request.authorization = "bAsIc YWRtaW46c2VjcmV0"; // admin:secret
    EXPECT_EQ(identify(request).user, "admin");
    request.authorization = "Basic YWRtaW4="; // without a password
    EXPECT_EQ(identify(request).result, Identification::refused);
    request.authorization = "Bearer x";
    EXPECT_EQ(identify(request).result, Identification::missing);

    const auto made = sessions.make("admin", "", "", redfish::Clock::now());
    request.token = made->token;
    EXPECT_EQ(identify(request).sessionId, made->id);
    accounts.remove("admin");
    EXPECT_EQ(identify(request).result, Identification::refused);
    request.token = "wrong";
    EXPECT_EQ(identify(request).result, Identification::refused);
}

} // namespace
