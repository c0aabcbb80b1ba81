// A connection while redis stops, starts, hangs, is full or rejects clients.
#include "tests/platform/ossel/store_test.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <hiredis/hiredis.h>
#include <memory>
#include <thread>

namespace {

using test::connectTo;
using test::errorsOf;
using testing::ContainsRegex;
using testing::HasSubstr;

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kLimit{2000};
// For a busy machine.
constexpr std::chrono::milliseconds kMargin{4000};

using Connection = test::StoreTest;

std::string fieldOf(redisContext* context, const char* key) {
    std::array<char, 256> text{};
    const int code = osselGetHashField(context, key, "name", text.data());
    return code == 0 ? text.data() : "(failed)";
}

int store(redisContext* context, const char* key, const std::string& value) {
    const FieldValuePair pair = test::field("name", value);
    return osselCreateHashTable(context, key, &pair, 1);
}

int storeEvent(redisContext* context) {
    const OsselEvent event{};
    return osselCreateEventObject(context, "source", 0, &event, 1);
}

long lines(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n');
}

TEST_F(Connection, SaysNothingWhileAllGoesWell) {
    EXPECT_EQ(errorsOf([&] {
                  const test::OsselConnection another = connectTo(redis.address());
                  EXPECT_EQ(store(another.get(), "key", "value"), 0);
                  EXPECT_EQ(fieldOf(context.get(), "key"), "value");
              }),
              "");
}

TEST_F(Connection, SurvivesARestartBetweenTwoCallsThatMayBeRepeated) {
    ASSERT_EQ(store(context.get(), "key", "before"), 0);
    redis.stop();
    redis.start();
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(store(context.get(), "key", "after"), 0); }), "");
    EXPECT_EQ(redis.command({"HGET", "key", "name"}), "after");
}

TEST_F(Connection, SurvivesARestartBetweenTwoCallsThatMayNotBeRepeated) {
    ASSERT_EQ(storeEvent(context.get()), 0);
    redis.stop();
    redis.start();
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(storeEvent(context.get()), 0); }), "");
    EXPECT_EQ(redis.command({"XLEN", "Events:source"}), "1");
}

TEST_F(Connection, SurvivesBeingKilledWhileIdle) {
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(redis.command({"CLIENT", "KILL", "TYPE", "normal"}), "1");
        EXPECT_EQ(osselPublishToChannel(context.get(), "channel", "message"), 0);
        ASSERT_EQ(redis.command({"CLIENT", "KILL", "TYPE", "normal"}), "1");
        EXPECT_EQ(store(context.get(), "key", "value"), 0);
    }
}

TEST_F(Connection, FailsWithOneLineWhileTheServerIsAwayAndWorksAfterwards) {
    redis.kill();
    const std::string errors = errorsOf([&] {
        for (int i = 0; i < 5; ++i) {
            EXPECT_NE(store(context.get(), "key", "value"), 0);
            EXPECT_NE(storeEvent(context.get()), 0);
            EXPECT_EQ(fieldOf(context.get(), "key"), "(failed)");
            EXPECT_EQ(osselRedisConnect(), nullptr);
        }
    });
    EXPECT_EQ(errors, "ossel: cannot reach redis at " + redis.address() + ": Connection refused\n");
    redis.start();
    EXPECT_EQ(errorsOf([&] {
                  EXPECT_EQ(storeEvent(context.get()), 0);
                  EXPECT_EQ(store(context.get(), "key", "value"), 0);
              }),
              "");
    redis.stop();
    EXPECT_EQ(lines(errorsOf([&] { EXPECT_NE(store(context.get(), "key", "value"), 0); })), 1)
        << "the next outage is told again";
}

TEST_F(Connection, KeepsNoDescriptorsOverManyOutages) {
    const auto openDescriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    ASSERT_EQ(store(context.get(), "key", "value"), 0);
    ASSERT_EQ(redis.command({"PING"}), "PONG"); // opens the test's own connection
    const auto before = openDescriptors();
    for (int i = 0; i < 20; ++i) {
        redis.command({"CLIENT", "KILL", "TYPE", "normal"});
        ASSERT_EQ(store(context.get(), "key", "value"), 0);
    }
    EXPECT_EQ(openDescriptors(), before);
    redis.stop();
    const auto stopped = openDescriptors();
    for (int i = 0; i < 20; ++i) {
        EXPECT_NE(store(context.get(), "key", "value"), 0);
    }
    EXPECT_LE(openDescriptors(), stopped);
}

TEST_F(Connection, IsNeitherAStandardStreamNorInheritedByPrograms) {
    const int kept = ::dup(STDIN_FILENO);
    ::close(STDIN_FILENO);
    const test::OsselConnection another = connectTo(redis.address());
    redis.command({"CLIENT", "KILL", "TYPE", "normal"});
    const int stored = store(another.get(), "key", "value");
    if (kept >= 0) {
        ::dup2(kept, STDIN_FILENO);
        ::close(kept);
    }
    EXPECT_EQ(stored, 0);
    ASSERT_NE(another, nullptr);
    EXPECT_GT(another->fd, STDERR_FILENO);
    EXPECT_NE(::fcntl(another->fd, F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(Connection, IsAHandleOfHiredisOnTheSameSocket) {
    ASSERT_EQ(store(context.get(), "key", "value"), 0);
    const std::unique_ptr<redisReply, decltype(&::freeReplyObject)> reply(
        static_cast<redisReply*>(::redisCommand(context.get(), "HGET key name")),
        ::freeReplyObject);
    ASSERT_NE(reply, nullptr) << context->errstr;
    EXPECT_STREQ(reply->str, "value");
    EXPECT_EQ(fieldOf(context.get(), "key"), "value");
}

TEST_F(Connection, NeverTakesTheLateReplyToACommandOfHiredis) {
    ASSERT_EQ(store(context.get(), "key", "value"), 0);
    const timeval impatient{.tv_sec = 0, .tv_usec = 20'000};
    redis.pause();
    ::redisSetTimeout(context.get(), impatient);
    EXPECT_EQ(::redisCommand(context.get(), "ECHO foreign"), nullptr);
    EXPECT_NE(context->err, 0);
    redis.resume();
    EXPECT_EQ(fieldOf(context.get(), "key"), "value");
    EXPECT_EQ(context->err, 0);
    EXPECT_EQ(fieldOf(context.get(), "key"), "value");
}

TEST_F(Connection, ShowsAnOutageInItsHandleUntilItIsReestablished) {
    ASSERT_EQ(store(context.get(), "key", "value"), 0);
    redis.stop();
    errorsOf([&] { EXPECT_NE(store(context.get(), "key", "other"), 0); });
    EXPECT_NE(context->err, 0);
    EXPECT_STRNE(context->errstr, "");
    EXPECT_EQ(context->fd, -1);
    redis.start();
    errorsOf([&] { EXPECT_EQ(store(context.get(), "key", "third"), 0); });
    EXPECT_EQ(context->err, 0);
    EXPECT_GE(context->fd, 0);
}

TEST_F(Connection, IsLeftAfterTwoSecondsOfSilenceAndNeverReadsTheLateReply) {
    ASSERT_EQ(store(context.get(), "first", "one"), 0);
    ASSERT_EQ(store(context.get(), "second", "two"), 0);
    redis.pause();
    const Clock::time_point start = Clock::now();
    const std::string errors =
        errorsOf([&] { EXPECT_EQ(fieldOf(context.get(), "first"), "(failed)"); });
    const auto taken = Clock::now() - start;
    redis.resume();
    EXPECT_GE(taken, kLimit - std::chrono::milliseconds(50));
    EXPECT_LT(taken, kLimit + kMargin);
    EXPECT_EQ(errors, "ossel: lost redis at " + redis.address() + ": no answer within 2 s\n");
    EXPECT_EQ(fieldOf(context.get(), "second"), "two");
    EXPECT_EQ(fieldOf(context.get(), "first"), "one");
}

TEST_F(Connection, HasItsTimeLimitAlsoAfterItWasReestablished) {
    redis.command({"CLIENT", "KILL", "TYPE", "normal"});
    ASSERT_EQ(store(context.get(), "key", "value"), 0);
    redis.pause();
    const Clock::time_point start = Clock::now();
    errorsOf([&] { EXPECT_NE(storeEvent(context.get()), 0); });
    const auto taken = Clock::now() - start;
    redis.resume();
    EXPECT_LT(taken, kLimit + kMargin);
    EXPECT_EQ(storeEvent(context.get()), 0);
}

TEST_F(Connection, HasATimeLimitForWritingToo) {
    const std::vector<FieldValuePair> fields(
        4000, test::field(std::string(1000, 'n'), std::string(1000, 'v')));
    redis.pause();
    const Clock::time_point start = Clock::now();
    errorsOf(
        [&] { EXPECT_NE(osselCreateHashTable(context.get(), "key", fields.data(), 4000), 0); });
    const auto taken = Clock::now() - start;
    redis.resume();
    EXPECT_LT(taken, 2 * kLimit + kMargin);
    EXPECT_EQ(store(context.get(), "key", "value"), 0);
}

TEST_F(Connection, IsRefusedByAServerThatHangs) {
    redis.pause();
    const Clock::time_point start = Clock::now();
    errorsOf([&] { EXPECT_EQ(connectTo(redis.address()), nullptr); });
    const auto taken = Clock::now() - start;
    redis.resume();
    EXPECT_LT(taken, kLimit + kMargin);
}

TEST_F(Connection, ReportsAServerOutOfMemoryAndChangesNothing) {
    redis.command({"SADD", "set", "old"});
    redis.command({"CONFIG", "SET", "maxmemory", "1"});
    test::Slots slots({"new"});
    const std::string errors = errorsOf([&] {
        EXPECT_NE(store(context.get(), "key", "value"), 0);
        EXPECT_NE(osselCreateSetTable(context.get(), "set", slots.data(), 1), 0);
        EXPECT_NE(osselListRightPush(context.get(), "list", "value"), 0);
        EXPECT_NE(osselRenewCollection(context.get(), 0, "collection", "set", 0), 0);
        EXPECT_NE(storeEvent(context.get()), 0);
        EXPECT_NE(osselCreateReturnMessage(context.get(), "uuid", "Id",
                                           static_cast<const char*>(nullptr)),
                  0);
    });
    EXPECT_THAT(errors, HasSubstr("ossel: HSET key: OOM command not allowed"));
    // Redis 7 refuses every command of a transaction, redis 8 only those that need memory.
    EXPECT_THAT(errors, ContainsRegex("ossel: (DEL|SADD) set: OOM command not allowed"));
    EXPECT_THAT(errors, HasSubstr("ossel: EVAL list: OOM command not allowed"));
    EXPECT_THAT(errors, HasSubstr("ossel: XADD Events:source: OOM command not allowed"));
    EXPECT_EQ(redis.command({"SMEMBERS", "set"}), "old");
    EXPECT_EQ(osselDeleteHash(context.get(), "set"), 0);
    redis.command({"CONFIG", "SET", "maxmemory", "0"});
    EXPECT_EQ(store(context.get(), "key", "value"), 0);
}

TEST_F(Connection, IsRefusedByAServerAtItsLimitOfClients) {
    redis.command({"CONFIG", "SET", "maxclients", "2"});
    EXPECT_THAT(errorsOf([&] { EXPECT_EQ(osselRedisConnect(), nullptr); }),
                HasSubstr("max number of clients reached"));
    EXPECT_EQ(store(context.get(), "key", "value"), 0);
}

TEST_F(Connection, RecoversFromAServerAtItsLimitOfClients) {
    redis.command({"CONFIG", "SET", "maxclients", "1"});
    redis.command({"CLIENT", "KILL", "TYPE", "normal"});
    EXPECT_THAT(errorsOf([&] {
                    EXPECT_NE(store(context.get(), "key", "value"), 0);
                    EXPECT_NE(storeEvent(context.get()), 0);
                }),
                HasSubstr("max number of clients reached"));
    redis.command({"CONFIG", "SET", "maxclients", "100"});
    EXPECT_EQ(storeEvent(context.get()), 0);
    EXPECT_EQ(store(context.get(), "key", "value"), 0);
}

TEST_F(Connection, IsRefusedByAServerThatWantsAPassword) {
    redis.command({"CONFIG", "SET", "requirepass", "secret"});
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(osselRedisConnect(), nullptr); }),
              "ossel: PING: NOAUTH Authentication required.\n");
}

TEST_F(Connection, ReportsAServerThatOnlyReads) {
    redis.command({"CONFIG", "SET", "min-replicas-to-write", "1"});
    EXPECT_THAT(errorsOf([&] { EXPECT_NE(store(context.get(), "key", "value"), 0); }),
                HasSubstr("ossel: HSET key: NOREPLICAS"));
}

// The first connect of a process decides, so each of these has a process of its own.
int afterFirstConnect(void (*handler)(int)) {
    ::signal(SIGPIPE, handler);
    connectTo("unix:/nowhere/redis.sock");
    struct sigaction action {};
    ::sigaction(SIGPIPE, nullptr, &action);
    return action.sa_handler == SIG_IGN ? 10 : action.sa_handler == handler ? 11 : 12;
}

TEST(BrokenPipe, IsIgnoredFromTheFirstConnectOn) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(afterFirstConnect(SIG_DFL)), testing::ExitedWithCode(10), "");
}

TEST(BrokenPipe, IsLeftToAHandlerOfTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(afterFirstConnect([](int) {})), testing::ExitedWithCode(11), "");
}

TEST_F(Connection, OfEachThreadIsItsOwnThoughTheServerKeepsCuttingThem) {
    constexpr int kThreads = 6;
    constexpr int kRounds = 100;
    std::atomic<int> running{kThreads};
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            test::OsselConnection own;
            while (own == nullptr) {
                own.reset(osselRedisConnect()); // a cut may meet both tries
            }
            const std::string key = "key" + std::to_string(i);
            for (int round = 0; round < kRounds; ++round) {
                const std::string value = key + " " + std::to_string(round);
                std::array<char, 37> uuid{};
                failures += osselGenerateUUID(own.get(), uuid.data()) != 0 ? 1 : 0;
                // The same holds for each call, but what is read is always what was stored.
                if (store(own.get(), key.c_str(), value) == 0) {
                    const std::string found = fieldOf(own.get(), key.c_str());
                    failures += found != value && found != "(failed)" ? 1 : 0;
                }
                osselSADD(own.get(), "set", uuid.data(), 0);
            }
            --running;
        });
    }
    errorsOf([&] {
        while (running > 0) {
            redis.command({"CLIENT", "KILL", "TYPE", "normal"});
            std::this_thread::yield();
        }
    });
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(store(context.get(), "key", "value"), 0);
}

} // namespace
