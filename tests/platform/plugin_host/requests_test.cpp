// A request from publication through hook and worker to its answer.
#include "tests/platform/plugin_host/host.h"

#include "tests/support/listener.h"
#include "tests/support/wait_until.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <poll.h>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

using test::HostTest;
using test::Replies;
using Answers = std::vector<std::string>;

class Requests : public HostTest {
protected:
    // Ends the host in good order: each worker has ended, the hook ran where and when it may.
    void endHost() {
        host->signal(SIGTERM);
        EXPECT_EQ(host->wait(), 0) << errors();
        EXPECT_EQ(occurrences(output(), "end of "), 3U) << output();
        EXPECT_EQ(occurrences(output(), "returned\n"), 1U) << output();
        EXPECT_EQ(occurrences(output(), "hook "), 0U) << output();
    }
};

TEST_F(Requests, AreAnsweredByTheWorkerOfTheirKind) {
    Replies replies(redis.socketPath());
    startHost();
    EXPECT_EQ(request("00000", "a"), "1");
    EXPECT_EQ(replies.next(1), Answers{"create:a"});
    EXPECT_EQ(request("00001", "b"), "1");
    EXPECT_EQ(replies.next(1), Answers{"read:b"});
    EXPECT_EQ(request("00003", "c"), "1");
    EXPECT_EQ(replies.next(1), Answers{"update:c"});
    endHost();
    EXPECT_EQ(errors(), "");
}

TEST_F(Requests, OfOneKindAreServedInTheOrderOfPublishing) {
    Replies replies(redis.socketPath());
    startHost();
    Answers expected;
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(request("00001", std::to_string(i)), "1");
        expected.push_back("read:" + std::to_string(i));
    }
    EXPECT_EQ(replies.next(expected.size()), expected);
    endHost();
}

TEST_F(Requests, OfOneKindDoNotWaitForAnother) {
    Replies replies(redis.socketPath());
    startHost({"update=hang"});
    EXPECT_EQ(request("00003", "a"), "1");
    EXPECT_EQ(request("00001", "b"), "1");
    EXPECT_EQ(replies.next(1), Answers{"read:b"});
}

TEST_F(Requests, PublishedBeforeTheWaitAreKeptForIt) {
    Replies replies(redis.socketPath());
    startHost({"go"});
    Answers expected;
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(request("00001", std::to_string(i)), "1");
        expected.push_back("read:" + std::to_string(i));
    }
    EXPECT_EQ(replies.all(redis), Answers{});
    redis.command({"RPUSH", "go", "now"});
    EXPECT_EQ(replies.next(expected.size()), expected);
    endHost();
}

TEST_F(Requests, PostedByTheProgramBeforeTheWaitAreKept) {
    Replies replies(redis.socketPath());
    startHost({"posts=3"});
    EXPECT_EQ(replies.next(3), (Answers{"read:own0", "read:own1", "read:own2"}));
    endHost();
}

TEST_F(Requests, OfAnotherFormAreReportedAndDropped) {
    const std::map<std::string, std::string> table{
        {"hello", "no JSON in UTF-8"},
        {R"({"a":1})", "no array"},
        {R"(["00001"])", "less than three elements"},
        {R"(["00001","a","replies",4])", "an element is no text"},
        {R"(["00001","a","replies","d"])", "more than three elements"},
        {R"(["00001","a\u0000","replies"])", "contains a NUL"},
    };
    Replies replies(redis.socketPath());
    startHost();
    for (const auto& [payload, reason] : table) {
        EXPECT_EQ(publish(payload), "1") << payload;
    }
    EXPECT_EQ(publish(std::string(70000, 'x')), "1");
    EXPECT_EQ(publish(std::string("[\"00001\",\"a\0\",\"replies\"]", 23)), "1");
    EXPECT_EQ(request("00001", "afterwards"), "1");
    EXPECT_EQ(replies.next(1), Answers{"read:afterwards"});
    endHost();
    EXPECT_EQ(occurrences(errors(), "\n"), table.size() + 2) << errors();
    EXPECT_EQ(occurrences(errors(), "longer than 64 KiB: xxx"), 1U);
    EXPECT_EQ(occurrences(errors(), "contains a NUL: [\"00001\",\"a\\x00\""), 1U) << errors();
    EXPECT_EQ(occurrences(errors(), "no JSON in UTF-8: hello\n"), 1U);
    EXPECT_EQ(occurrences(errors(), "contains a NUL: [\"00001\",\"a\\x5cu0000\""), 1U);
}

TEST_F(Requests, AreServedAgainAfterRedisCameBackEmpty) {
    startHost();
    {
        Replies replies(redis.socketPath());
        EXPECT_EQ(request("00001", "before"), "1");
        EXPECT_EQ(replies.next(1), Answers{"read:before"});
    }
    for (int round = 0; round < 3; ++round) {
        redis.kill();
        redis.start();
        ASSERT_TRUE(awaitSubscribed());
        EXPECT_EQ(redis.command({"HGET", "OvrCallbacks", "type-1"}), "Provider");
        EXPECT_NE(redis.command({"CLIENT", "LIST"}).find("name=Provider "), std::string::npos);
        Replies replies(redis.socketPath());
        EXPECT_EQ(request("00001", "after"), "1");
        EXPECT_EQ(replies.next(1), Answers{"read:after"});
    }
    endHost();
    EXPECT_EQ(occurrences(errors(), "is lost"), 3U) << errors();
    EXPECT_EQ(occurrences(errors(), "is back"), 3U) << errors();
    EXPECT_EQ(occurrences(errors(), "\n"), 6U) << errors();
}

using Clock = std::chrono::steady_clock;

// Turns the host's next try away.
Clock::time_point turnAway(const test::Listener& door) {
    pollfd awaited{.fd = door.descriptor(), .events = POLLIN, .revents = 0};
    if (::poll(&awaited, 1, 20'000) != 1) {
        throw std::runtime_error("the host has given up");
    }
    const Clock::time_point came = Clock::now();
    const Descriptor refused(door.accept());
    return came;
}

// The pause between two tries grows while redis is away. It has grown up once it is hardly longer
// than the one before; a busy machine only makes single ones longer.
TEST_F(Requests, AreServedSoonAfterRedisCameBackHoweverLongItWasAway) {
    startHost();
    redis.kill();
    ASSERT_TRUE(awaitErrors("is lost"));
    {
        std::filesystem::remove(redis.socketPath());
        const test::Listener door(redis.socketPath());
        Clock::time_point last = turnAway(door);
        Clock::duration before{};
        Clock::duration pause{};
        do {
            const Clock::time_point now = turnAway(door);
            before = std::exchange(pause, now - last);
            last = now;
        } while (pause > before * 3 / 2);
        EXPECT_LT(pause, std::chrono::milliseconds(500));
    }
    redis.start();
    EXPECT_TRUE(awaitSubscribed());
    endHost();
}

TEST_F(Requests, AreServedAgainAfterTheConnectionAloneWasCut) {
    Replies replies(redis.socketPath());
    startHost();
    ASSERT_EQ(redis.command({"CLIENT", "KILL", "TYPE", "PUBSUB", "SKIPME", "YES"}), "2");
    Replies anew(redis.socketPath());
    ASSERT_TRUE(awaitErrors("is back"));
    EXPECT_EQ(request("00001", "a"), "1");
    EXPECT_EQ(anew.next(1), Answers{"read:a"});
    endHost();
}

// The sum of the voluntary context switches of all threads.
long switches(pid_t process) {
    long sum = 0;
    const std::filesystem::path tasks = "/proc/" + std::to_string(process) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(tasks)) {
        std::ifstream status(task.path() / "status");
        for (std::string word; status >> word;) {
            long count = 0;
            if (word == "voluntary_ctxt_switches:" && status >> count) {
                sum += count;
            }
        }
    }
    return sum;
}

TEST_F(Requests, CostNoContextSwitchWhileThereAreNone) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the sanitizer has a periodic thread of its own";
#endif
    Replies replies(redis.socketPath());
    startHost();
    EXPECT_EQ(request("00001", "a"), "1");
    EXPECT_EQ(replies.next(1), Answers{"read:a"});
    // Quiet: five looks in a row see the same count.
    long before = -1;
    int same = 0;
    ASSERT_TRUE(test::waitUntil([&] {
        const long now = switches(host->pid());
        same = now == before ? same + 1 : 0;
        before = now;
        return same == 5;
    }));
    std::this_thread::sleep_for(std::chrono::seconds(1)); // the span that is measured
    EXPECT_EQ(switches(host->pid()), before);
    endHost();
}

} // namespace
