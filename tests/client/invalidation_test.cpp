#include "client/invalidation.h"

#include "client/errors.h"
#include "tests/support/redis_server.h"

#include <gtest/gtest.h>
#include <optional>
#include <thread>

namespace {

using client::Clock;
using client::Invalidations;
using std::chrono::milliseconds;

constexpr milliseconds kLong{10'000};
constexpr milliseconds kShort{150};
const std::vector<std::string> kFollowed{"instance", "TTL:instance"};

class TheInvalidations : public testing::Test {
protected:
    Invalidations follow() {
        return Invalidations(client::parseAddress(server.address()), kFollowed);
    }

    test::RedisServer server;
    client::Stop stop;
};

TEST_F(TheInvalidations, TellOfAChangeByAnyone) {
    Invalidations news = follow();
    EXPECT_FALSE(news.next(Clock::now() + kShort, &stop));
    server.command({"HSET", "instance", "Theme", "dark"});
    EXPECT_TRUE(news.next(Clock::now() + kLong, &stop));
    EXPECT_FALSE(news.next(Clock::now() + kShort, &stop)) << "told once";
    server.command({"SET", "TTL:instance", "1"});
    EXPECT_TRUE(news.next(Clock::now() + kLong, &stop));
    server.command({"DEL", "TTL:instance"});
    EXPECT_TRUE(news.next(Clock::now() + kLong, &stop));
}

TEST_F(TheInvalidations, AreSilentAboutOtherKeys) {
    Invalidations news = follow();
    server.command({"HSET", "another", "Theme", "dark"});
    EXPECT_FALSE(news.next(Clock::now() + kShort, &stop));
}

TEST_F(TheInvalidations, TellOfAKeyThatExpires) {
    // On a busy machine it may expire before it is followed; then it gets more time.
    std::optional<Invalidations> news;
    for (int life = 50; life < 10'000 && server.command({"EXISTS", "TTL:instance"}) == "0";
         life *= 2) {
        server.command({"SET", "TTL:instance", "1", "PX", std::to_string(life)});
        news.emplace(client::parseAddress(server.address()), kFollowed);
    }
    EXPECT_TRUE(news->next(Clock::now() + kLong, &stop));
}

TEST_F(TheInvalidations, TellOfManyChangesAsOne) {
    Invalidations news = follow();
    for (int i = 0; i < 50; ++i) {
        server.command({"HSET", "instance", "Theme", std::to_string(i)});
    }
    EXPECT_TRUE(news.next(Clock::now() + kLong, &stop));
    EXPECT_FALSE(news.next(Clock::now() + kShort, &stop));
}

TEST_F(TheInvalidations, FailWhenEitherConnectionIsLost) {
    for (const std::string kind : {"pubsub", "normal"}) {
        Invalidations news = follow();
        server.command({"CLIENT", "KILL", "TYPE", kind, "SKIPME", "yes"});
        EXPECT_THROW(news.next(Clock::now() + kLong, &stop), client::StoreUnreachable) << kind;
    }
}

TEST_F(TheInvalidations, EndWhenStopped) {
    Invalidations news = follow();
    std::thread other([this] { stop.request(); });
    EXPECT_THROW(news.next(Clock::now() + kLong, &stop), client::Stopped);
    other.join();
}

} // namespace
