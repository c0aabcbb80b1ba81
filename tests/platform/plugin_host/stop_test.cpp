// How the host ends: by a signal, by a second one, or because its workers are gone.
#include "tests/platform/plugin_host/host.h"

#include "tests/support/wait_until.h"

#include <algorithm>
#include <csignal>

namespace {

using test::HostTest;
using test::Replies;
using Answers = std::vector<std::string>;

constexpr int kEndedBySignal = 128; // what ChildProcess adds to the signal's number

class Stop : public HostTest {
protected:
    // Publishes until no provider is up, with the signal after `before` requests; the
    // answers that the publishers may expect.
    Answers publishThroughTheStop(int signal, int before) {
        const std::vector<std::pair<std::string, std::string>> kinds{
            {"00000", "create:"}, {"00001", "read:"}, {"00002", "update:"}};
        Answers accepted;
        for (std::size_t i = 0; i < 20000; ++i) {
            if (i == static_cast<std::size_t>(before)) {
                host->signal(signal);
            }
            const auto& [msgId, kind] = kinds.at(i % kinds.size());
            if (request(msgId, std::to_string(i)) != "1") {
                return accepted;
            }
            accepted.push_back(kind + std::to_string(i));
        }
        ADD_FAILURE() << "the host still accepts requests";
        return accepted;
    }

    void expectAllAnsweredOnce(int signal) {
        Replies replies(redis.socketPath());
        startHost({"create=slow", "read=slow", "update=slow"});
        Answers expected = publishThroughTheStop(signal, 500);
        EXPECT_EQ(host->wait(), 0) << errors();
        Answers answers = replies.all(redis);
        EXPECT_GE(expected.size(), 500U);
        std::sort(expected.begin(), expected.end());
        std::sort(answers.begin(), answers.end());
        EXPECT_EQ(answers, expected);
        EXPECT_EQ(occurrences(output(), "end of "), 3U) << output();
        EXPECT_EQ(occurrences(output(), "returned\n"), 1U) << output();
        EXPECT_EQ(redis.command({"EXISTS", "OvrCallbacks"}), "0");
        EXPECT_EQ(errors(), "");
    }
};

TEST_F(Stop, BySigtermAnswersEveryAcceptedRequestExactlyOnce) {
    expectAllAnsweredOnce(SIGTERM);
}

TEST_F(Stop, BySigintAnswersEveryAcceptedRequestExactlyOnce) {
    expectAllAnsweredOnce(SIGINT);
}

TEST_F(Stop, EndsTheSubscriptionAndTheHookBeforeTheWaitReturns) {
    startHost({"linger"});
    host->signal(SIGTERM);
    ASSERT_TRUE(awaitOutput("returned\n"));
    EXPECT_EQ(request("00001", "a"), "0");
    EXPECT_EQ(redis.command({"EXISTS", "OvrCallbacks"}), "0");
    redis.command({"RPUSH", "end", "now"});
    EXPECT_EQ(host->wait(), 0);
    EXPECT_EQ(output().find("hook "), std::string::npos);
}

TEST_F(Stop, ByASecondSignalIsImmediate) {
    for (const int second : {SIGTERM, SIGINT}) {
        startHost({"update=hang"});
        EXPECT_EQ(request("00002", "a"), "1");
        host->signal(SIGTERM);
        // The first one is taken once the provider has left.
        ASSERT_TRUE(test::waitUntil([this] {
            return redis.command({"PUBSUB", "NUMSUB", "Provider"}) == "Provider 0";
        }));
        EXPECT_TRUE(host->isRunning());
        host->signal(second);
        EXPECT_EQ(host->wait(), kEndedBySignal + second);
    }
}

TEST_F(Stop, AfterTheWaitIsByDefault) {
    startHost({"linger"});
    host->signal(SIGTERM);
    ASSERT_TRUE(awaitOutput("returned\n"));
    host->signal(SIGINT);
    EXPECT_EQ(host->wait(), kEndedBySignal + SIGINT);
}

TEST_F(Stop, BeforeTheWaitIsByDefault) {
    startHost({"go"});
    host->signal(SIGTERM);
    EXPECT_EQ(host->wait(), kEndedBySignal + SIGTERM);
    EXPECT_EQ(output().find("end of"), std::string::npos);
}

TEST_F(Stop, LeavesAnIgnoredSigintIgnored) {
    std::signal(SIGINT, SIG_IGN); // the child inherits it
    startHost();
    std::signal(SIGINT, SIG_DFL);
    Replies replies(redis.socketPath());
    EXPECT_EQ(request("00001", "a"), "1");
    EXPECT_EQ(replies.next(1), Answers{"read:a"});
    host->signal(SIGINT);
    EXPECT_EQ(request("00001", "b"), "1");
    EXPECT_EQ(replies.next(1), Answers{"read:b"});
    // SIGTERM alone; while it starts a thread the C library blocks all for a moment.
    EXPECT_TRUE(test::waitUntil([this] { return status("SigBlk") == "0000000000004000"; }));
    EXPECT_EQ(std::stoull(status("SigIgn"), nullptr, 16) & 2U, 2U); // SIGINT
    host->signal(SIGTERM);
    EXPECT_EQ(host->wait(), 0);
}

TEST_F(Stop, ComesWhenEveryWorkerHasEndedByItself) {
    startHost({"create=return", "read=one", "update=return"});
    EXPECT_EQ(request("00001", "a"), "1");
    EXPECT_EQ(host->wait(), 0);
    EXPECT_EQ(occurrences(output(), "end of "), 3U);
    EXPECT_EQ(redis.command({"EXISTS", "OvrCallbacks"}), "0");
}

TEST_F(Stop, DoesNotWaitForAKindWhoseWorkerIsGone) {
    Replies replies(redis.socketPath());
    startHost({"create=return", "read=one"});
    EXPECT_EQ(request("00001", "a"), "1");
    EXPECT_EQ(replies.next(1), Answers{"read:a"});
    EXPECT_EQ(request("00000", "b"), "1"); // its worker took nothing
    EXPECT_EQ(request("00001", "c"), "1"); // its worker took one
    EXPECT_EQ(request("00002", "d"), "1");
    EXPECT_EQ(replies.next(1), Answers{"update:d"});
    host->signal(SIGTERM);
    EXPECT_EQ(host->wait(), 0);
    EXPECT_EQ(errors(), "[ovrhost]: Requests whose worker is gone are skipped: 2\n");
}

TEST_F(Stop, IsAnAbortWhenABodyThrows) {
    startHost({"read=throw"});
    EXPECT_EQ(request("00001", "a"), "1");
    EXPECT_EQ(host->wait(), kEndedBySignal + SIGABRT);
    EXPECT_NE(errors().find("a worker fails"), std::string::npos);
}

TEST_F(Stop, WorksWhileRedisIsAway) {
    startHost();
    redis.kill();
    ASSERT_TRUE(awaitErrors("is lost"));
    host->signal(SIGTERM);
    EXPECT_EQ(host->wait(), 0);
    EXPECT_EQ(occurrences(output(), "end of "), 3U);
    EXPECT_NE(errors().find("Failed to leave OvrCallbacks"), std::string::npos);
}

TEST_F(Stop, IsBoundedWhileRedisDoesNotAnswer) {
    startHost();
    redis.pause();
    const auto start = std::chrono::steady_clock::now();
    host->signal(SIGTERM);
    EXPECT_EQ(host->wait(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(occurrences(output(), "end of "), 3U);
}

} // namespace
