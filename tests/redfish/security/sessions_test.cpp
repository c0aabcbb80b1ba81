#include "redfish/security/sessions.h"

#include <gmock/gmock.h>

namespace {

using redfish::Clock;
using redfish::Sessions;
using std::chrono::seconds;

class TheSessions : public testing::Test {
protected:
    Sessions::Made make(const std::string& user, Clock::time_point at) {
        return sessions.make(user, "127.0.0.1", "now", at).value();
    }

    Sessions sessions{{.idle = seconds(100), .most = 3, .mostPerUser = 2}};
    Clock::time_point start = Clock::now();
};

TEST_F(TheSessions, AreFoundByTheirTokenAndNothingElse) {
    const auto made = make("admin", start);
    EXPECT_EQ(made.token.size(), 64U);
    ASSERT_NE(sessions.use(made.token, start), nullptr);
    EXPECT_EQ(sessions.use(made.token, start)->user, "admin");
    EXPECT_EQ(sessions.use(made.id, start), nullptr);
    EXPECT_EQ(sessions.use(made.token.substr(1), start), nullptr);
    EXPECT_EQ(sessions.use("", start), nullptr);
    EXPECT_EQ(sessions.find(made.token, start), nullptr);
    EXPECT_NE(sessions.find(made.id, start), nullptr);
}

TEST_F(TheSessions, EndWhenTheyHaveBeenIdleTooLong) {
    const auto made = make("admin", start);
    EXPECT_NE(sessions.use(made.token, start + seconds(100)), nullptr) << "used: counted anew";
    EXPECT_NE(sessions.use(made.token, start + seconds(200)), nullptr);
    EXPECT_EQ(sessions.use(made.token, start + seconds(301)), nullptr);
    EXPECT_EQ(sessions.use(made.token, start + seconds(200)), nullptr) << "gone for good";
    EXPECT_TRUE(sessions.all(start + seconds(301)).empty());
}

TEST_F(TheSessions, AreLimitedInAllAndForEachUser) {
    make("one", start);
    make("one", start);
    EXPECT_FALSE(sessions.make("one", "", "", start)) << "two of a user";
    make("two", start);
    EXPECT_FALSE(sessions.make("three", "", "", start)) << "three in all";
    EXPECT_TRUE(sessions.make("one", "", "", start + seconds(101))) << "the old ones are idle";
}

TEST_F(TheSessions, EndByIdAndByUser) {
    const auto one = make("one", start);
    const auto same = make("one", start);
    const auto other = make("two", start);
    EXPECT_FALSE(sessions.end("nobody"));
    sessions.endAllOf("one", same.id);
    EXPECT_EQ(sessions.use(one.token, start), nullptr);
    EXPECT_NE(sessions.use(same.token, start), nullptr);
    EXPECT_TRUE(sessions.end(same.id));
    EXPECT_EQ(sessions.use(same.token, start), nullptr);
    ASSERT_EQ(sessions.all(start).size(), 1U);
    EXPECT_EQ(sessions.all(start)[0]->id, other.id);
}

} // namespace
