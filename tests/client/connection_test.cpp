#include "client/connection.h"

#include "client/errors.h"
#include "tests/support/redis_server.h"
#include "tests/support/wait_until.h"

#include <array>
#include <gmock/gmock.h>
#include <thread>

namespace {

using client::Clock;
using client::Reply;
using client::StoreConnection;
using testing::HasSubstr;

class Connection : public testing::Test {
protected:
    // The text of the exception; empty when none is thrown.
    template <typename Exception>
    std::string thrownBy(const client::Words& words) {
        try {
            store.command(words);
        } catch (const Exception& error) {
            return error.what();
        }
        return {};
    }

    test::RedisServer server;
    StoreConnection store{client::parseAddress(server.address())};
};

TEST_F(Connection, SendsWordsAsTheyAre) {
    const std::string odd("a b\"c'\r\n\0%s", 11);
    EXPECT_EQ(store.command({"SET", odd, odd}).text, "OK");
    EXPECT_EQ(store.command({"GET", odd}).text, odd);
}

TEST_F(Connection, GivesEachKindOfReply) {
    EXPECT_TRUE(store.command({"GET", "missing"}).isNil());
    EXPECT_EQ(store.command({"INCR", "number"}).integer, 1);
    const Reply nested = store.command({"EVAL", "return {1, {'two'}}", "0"});
    EXPECT_EQ(nested.elements.at(0).integer, 1);
    EXPECT_EQ(nested.elements.at(1).elements.at(0).text, "two");
    EXPECT_TRUE(store.command({"LRANGE", "missing", "0", "-1"}).elements.empty());
}

TEST_F(Connection, CarriesTextsLargerThanAnyBuffer) {
    const std::string large(5'000'000, 'x');
    store.command({"SET", "large", large});
    EXPECT_EQ(store.command({"GET", "large"}).text, large);
}

TEST_F(Connection, ReadsHashes) {
    store.command({"HSET", "h", "a", "1", "b", ""});
    EXPECT_EQ(store.hash("h"), (std::map<std::string, std::string>{{"a", "1"}, {"b", ""}}));
    EXPECT_TRUE(store.hash("missing").empty());
    EXPECT_EQ(store.hashField("h", "b"), "");
    EXPECT_EQ(store.hashField("h", "c"), std::nullopt);
    EXPECT_TRUE(store.exists("h"));
    EXPECT_FALSE(store.exists("missing"));
}

TEST_F(Connection, NamesServerCommandAndKeyOfARefusedCommandAndStaysUsable) {
    store.command({"SET", "text", "x"});
    EXPECT_EQ(thrownBy<client::StoreRefused>({"HGETALL", "text"}),
              "store " + server.address() +
                  ": HGETALL \"text\" failed: WRONGTYPE Operation against a key holding the wrong "
                  "kind of value; the key holds another kind of data: repair or delete it");
    EXPECT_THAT(
        thrownBy<client::StoreRefused>({"EVAL", "return redis.call('LPOP', KEYS[1])", "1", "text"}),
        HasSubstr("EVAL \"text\" failed: "));
    EXPECT_EQ(store.command({"PING"}).text, "PONG");
}

TEST_F(Connection, IsRenewedAfterTheServerWasRestarted) {
    store.command({"PING"});
    server.stop();
    EXPECT_THAT(thrownBy<client::StoreUnreachable>({"PING"}), HasSubstr("cannot connect"));
    server.start();
    EXPECT_EQ(store.command({"PING"}).text, "PONG");
    server.kill();
    server.start();
    EXPECT_EQ(store.command({"PING"}).text, "PONG");
}

TEST_F(Connection, LooksUpSeveralThingsInOneRoundTrip) {
    store.command({"HSET", "h", "a", "1"});
    const auto count = [this] {
        const std::string stats = server.command({"INFO", "stats"});
        const std::string name = "total_reads_processed:";
        return std::stoi(stats.substr(stats.find(name) + name.size()));
    };
    const int before = count();
    const std::array<client::Words, 3> commands{
        {{"EXISTS", "h"}, {"HGETALL", "h"}, {"GET", "missing"}}};
    const std::vector<Reply> replies = store.lookUp(commands);
    EXPECT_EQ(count() - before, 2) << "one for the commands, one for counting";
    ASSERT_EQ(replies.size(), 3U);
    EXPECT_EQ(replies[0].integer, 1);
    EXPECT_EQ(replies[1].elements.at(1).text, "1");
    EXPECT_TRUE(replies[2].isNil());
}

TEST_F(Connection, LooksUpOnANewConnectionWhereTheOldOneIsLost) {
    const std::array<client::Words, 1> commands{{{"GET", "key"}}};
    store.command({"PING"});
    server.kill();
    EXPECT_THROW(store.lookUp(commands), client::StoreUnreachable);
    server.start();
    server.command({"SET", "key", "x"});
    EXPECT_EQ(store.lookUp(commands).at(0).text, "x");
    server.stop();
    server.start();
    EXPECT_TRUE(store.lookUp(commands).at(0).isNil());
}

TEST_F(Connection, NamesTheRefusedOneOfSeveralCommandsAndStaysInStep) {
    const std::array<client::Words, 3> commands{
        {{"SET", "text", "x"}, {"HGETALL", "text"}, {"GET", "text"}}};
    try {
        store.lookUp(commands);
        ADD_FAILURE() << "not refused";
    } catch (const client::StoreRefused& error) {
        EXPECT_THAT(error.what(), HasSubstr("HGETALL \"text\" failed: WRONGTYPE"));
    }
    EXPECT_EQ(store.command({"ECHO", "next"}).text, "next");
}

TEST_F(Connection, LooksUpOnceOnlyWhereTheServerHangs) {
    const std::array<client::Words, 1> commands{{{"GET", "key"}}};
    store.command({"PING"});
    server.pause();
    const auto begin = Clock::now();
    EXPECT_THROW(store.lookUp(commands), client::StoreUnreachable);
    EXPECT_LT(Clock::now() - begin, std::chrono::milliseconds(3500)) << "two time-outs";
    server.resume();
    EXPECT_TRUE(store.lookUp(commands).at(0).isNil());
}

TEST_F(Connection, NeverWaitsLongForAServerThatHangs) {
    store.command({"PING"});
    server.pause();
    const auto begin = Clock::now();
    EXPECT_THAT(thrownBy<client::StoreUnreachable>({"PING"}),
                HasSubstr("store " + server.address() + ": no reply to PING within 2 s"));
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
    server.resume();
    EXPECT_EQ(store.command({"ECHO", "not the late reply"}).text, "not the late reply");
}

TEST_F(Connection, GivesUpABlockingCommandAtItsDeadlineAndNeverConfusesReplies) {
    EXPECT_EQ(store.blockingCommand({"BLPOP", "list", "0"},
                                    Clock::now() + std::chrono::milliseconds(20), nullptr),
              std::nullopt);
    EXPECT_EQ(store.command({"RPUSH", "list", "x"}).integer, 1);
    EXPECT_EQ(store.command({"LLEN", "list"}).integer, 1);
}

TEST_F(Connection, EndsABlockingCommandWhenStopped) {
    client::Stop stop;
    std::thread other([this, &stop] {
        test::waitUntil([this] {
            return server.command({"INFO", "clients"}).find("blocked_clients:1") !=
                   std::string::npos;
        });
        stop.request();
    });
    EXPECT_THROW(store.blockingCommand({"BLPOP", "list", "0"},
                                       Clock::now() + std::chrono::minutes(1), &stop),
                 client::Stopped);
    other.join();
    EXPECT_EQ(store.command({"PING"}).text, "PONG");
}

TEST_F(Connection, SaysWhatToDoWhenThereIsNoServer) {
    StoreConnection nowhere(client::parseAddress("unix:/nonexistent/redis.sock"));
    try {
        nowhere.command({"PING"});
        ADD_FAILURE() << "connected";
    } catch (const client::StoreUnreachable& error) {
        EXPECT_STREQ(error.what(),
                     "store unix:/nonexistent/redis.sock: cannot connect: No such file "
                     "or directory; start redis-server, or name its address in "
                     "OSSEL_REDIS");
    }
}

TEST(ConnectionWithPassword, SaysThatThePasswordIsInTheWay) {
    test::RedisServer server;
    server.command({"CONFIG", "SET", "requirepass", "secret"});
    StoreConnection store(client::parseAddress(server.address()));
    try {
        store.command({"GET", "key"});
        ADD_FAILURE() << "let in";
    } catch (const client::StoreRefused& error) {
        EXPECT_THAT(error.what(), HasSubstr("NOAUTH"));
        EXPECT_THAT(error.what(),
                    HasSubstr("name a file with user and password in OSSEL_REDIS_CREDENTIALS"));
    }
}

} // namespace
