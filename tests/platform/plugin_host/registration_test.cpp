// The provider's entry in the directory, its subscription, and both when redis is away.
#include "tests/platform/plugin_host/host.h"

#include "platform/plugin_host.h"
#include "tests/support/odd_server.h"
#include "tests/support/peak_memory.h"
#include "tests/support/wait_until.h"

#include <csignal>
#include <cstdlib>
#include <gmock/gmock.h>
#include <utility>

namespace {

using test::HostTest;
using test::Replies;
using Answers = std::vector<std::string>;

class Registration : public HostTest {};

TEST_F(Registration, EntersTheDirectoryAndSubscribesAtOnce) {
    startHost({"go"});
    EXPECT_EQ(redis.command({"HGETALL", "OvrCallbacks"}), "type-1 Provider");
    EXPECT_EQ(redis.command({"PUBSUB", "NUMSUB", "Provider"}), "Provider 1");
    EXPECT_NE(redis.command({"CLIENT", "LIST"}).find("name=Provider "), std::string::npos);
}

TEST_F(Registration, WithAnEmptyCallbackIdOnlySubscribes) {
    Replies replies(redis.socketPath());
    startHost({"id="});
    EXPECT_EQ(redis.command({"EXISTS", "OvrCallbacks"}), "0");
    EXPECT_EQ(request("00001", "a"), "1");
    EXPECT_EQ(replies.next(1), Answers{"read:a"});
    host->signal(SIGTERM);
    EXPECT_EQ(host->wait(), 0);
    EXPECT_EQ(errors(),
              "[ovrhost]: The callback id is empty: Provider gets no entry in OvrCallbacks\n");
}

TEST_F(Registration, IsMadeUpForWhenRedisIsAwayAtFirst) {
    redis.stop();
    startHost();
    ASSERT_TRUE(awaitErrors("Failed to subscribe to Provider"));
    redis.start();
    ASSERT_TRUE(awaitSubscribed());
    EXPECT_EQ(redis.command({"HGET", "OvrCallbacks", "type-1"}), "Provider");
    ASSERT_TRUE(awaitErrors("is back"));
    Replies replies(redis.socketPath());
    EXPECT_EQ(request("00001", "a"), "1");
    EXPECT_EQ(replies.next(1), Answers{"read:a"});
    host->signal(SIGTERM);
    EXPECT_EQ(host->wait(), 0);
    EXPECT_EQ(occurrences(errors(), "\n"), 2U) << errors();
}

TEST_F(Registration, DoesNotHangWhenRedisDoesNotAnswer) {
    redis.pause();
    startHost();
    EXPECT_TRUE(awaitErrors("Failed to subscribe to Provider: no answer within 2 s"));
    redis.resume();
    EXPECT_TRUE(awaitSubscribed());
}

TEST_F(Registration, FailsWithTheReasonOfRedis) {
    redis.command({"SET", "OvrCallbacks", "a text"});
    startHost();
    EXPECT_TRUE(awaitErrors("Failed to subscribe to Provider: WRONGTYPE"));
    redis.command({"DEL", "OvrCallbacks"});
    EXPECT_TRUE(awaitSubscribed());
}

TEST_F(Registration, IsTakenBackWhenTheProgramEndsWithoutWaiting) {
    startHost({"go", "early"});
    EXPECT_EQ(request("00001", "a"), "1");
    redis.command({"RPUSH", "go", "now"});
    EXPECT_EQ(host->wait(), 0);
    EXPECT_EQ(redis.command({"EXISTS", "OvrCallbacks"}), "0");
    EXPECT_EQ(errors(), "[ovrhost]: Requests that nobody waited for are skipped: 1\n");
}

TEST_F(Registration, LeavesTheEntryOfAnotherProviderAlone) {
    startHost();
    redis.command({"HSET", "OvrCallbacks", "type-1", "Another"});
    host->signal(SIGTERM);
    EXPECT_EQ(host->wait(), 0);
    EXPECT_EQ(redis.command({"HGET", "OvrCallbacks", "type-1"}), "Another");
}

TEST_F(Registration, LeavesTheEntryToANewRunThatAlreadyListens) {
    startHost();
    const std::unique_ptr<test::ChildProcess> old = std::move(host);
    startHost({"go"});
    old->signal(SIGTERM);
    EXPECT_EQ(old->wait(), 0);
    EXPECT_EQ(redis.command({"HGET", "OvrCallbacks", "type-1"}), "Provider");
    EXPECT_EQ(request("00001", "a"), "1");
}

TEST_F(Registration, IsTakenBackThoughAMonitorListensOnTheChannel) {
    startHost();
    Replies monitor(redis.socketPath(), "Provider");
    EXPECT_EQ(redis.command({"PUBSUB", "NUMSUB", "Provider"}), "Provider 2");
    host->signal(SIGTERM);
    EXPECT_EQ(host->wait(), 0);
    EXPECT_EQ(redis.command({"KEYS", "*"}), "") << "neither the entry nor its owner is left";
    EXPECT_EQ(errors(), "");
}

TEST_F(Registration, IsTakenBackThoughItsOwnerWasForgotten) {
    startHost();
    redis.command({"DEL", "OvrCallbackOwners"});
    host->signal(SIGTERM);
    EXPECT_EQ(host->wait(), 0);
    EXPECT_EQ(redis.command({"KEYS", "*"}), "");
    EXPECT_EQ(errors(), "");
}

TEST_F(Registration, ServesThoughItsOwnerCannotBeNoted) {
    redis.command({"SET", "OvrCallbackOwners", "another kind of key"});
    startHost({"go"});
    EXPECT_EQ(redis.command({"HGET", "OvrCallbacks", "type-1"}), "Provider");
    EXPECT_EQ(request("00001", "a"), "1");
    EXPECT_THAT(errors(),
                testing::HasSubstr("[ovrhost]: Failed to note the owner in OvrCallbackOwners: "));
}

TEST_F(Registration, IsNoConditionForTheWorkers) {
    Replies replies(redis.socketPath());
    startHost({"unregistered", "posts=1"});
    EXPECT_EQ(replies.next(1), Answers{"read:own0"});
    EXPECT_EQ(request("00001", "a"), "0");
    host->signal(SIGTERM);
    EXPECT_EQ(host->wait(), 0);
    EXPECT_EQ(errors(), "");
}

// In this process, whose memory is measured: the same host, with a server that announces gigabytes.
TEST(RegistrationLimits, LeaveNoMemoryToWhatAServerAnnounces) {
    constexpr std::size_t kLittle = 256; // MiB, with the arena of the server's thread
    for (const std::string greedy :
         {"*100000000\r\n", "*1048000\r\n*1048000\r\n", "$8000000000\r\n"}) {
        const test::OddServer server(
            [&](const std::string&) { return test::OddServer::Answer{greedy}; });
        ::setenv("OSSEL_REDIS", server.address().c_str(), 1);
        std::string name = "Provider";
        char* registered = name.data();
        testing::internal::CaptureStderr();
        EXPECT_LT(test::memoryTakenBy([&] {
                      ovrBindCAPIToOssel host;
                      host.ovrcbIdSet("type-1");
                      host.ovrHookFnRedisRegister(&registered);
                  }),
                  kLittle)
            << greedy;
        EXPECT_NE(testing::internal::GetCapturedStderr().find(
                      "[ovrhost]: Failed to subscribe to Provider: a reply "),
                  std::string::npos)
            << greedy;
    }
    ::unsetenv("OSSEL_REDIS");
}

} // namespace
