#include "platform/plugin_host/request_queues.h"

#include "tests/support/wait_until.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using plugin_host::RequestQueue;
using plugin_host::RequestQueues;
using plugin_host::WorkerEnd;

RequestTriple numbered(int number) {
    return {"00001", std::to_string(number), "replies"};
}

int numberOf(const RequestTriple& request) {
    return std::stoi(std::get<1>(request));
}

TEST(RequestQueue, GivesRequestsInTheOrderOfPostingAcrossReusedSlots) {
    RequestQueue queue;
    RequestTriple taken;
    int next = 0;
    int expected = 0;
    for (int round = 0; round < 50; ++round) {
        for (int i = 0; i <= round; ++i) {
            queue.post(numbered(next++));
        }
        for (int i = 0; i <= round; ++i) {
            queue.take(taken);
            EXPECT_EQ(taken, numbered(expected++));
        }
    }
    EXPECT_EQ(queue.close(), 0U);
}

TEST(RequestQueue, CopiesWhatIsPosted) {
    RequestQueue queue;
    RequestTriple request = numbered(1);
    queue.post(request);
    request = numbered(2);
    RequestTriple taken;
    queue.take(taken);
    EXPECT_EQ(taken, numbered(1));
}

TEST(RequestQueue, HandsEachPostToExactlyOneOfSeveralTakers) {
    constexpr int kPosters = 4;
    constexpr int kTakers = 3;
    constexpr int kEach = 2000;
    RequestQueue queue;
    std::vector<std::vector<int>> taken(kTakers);
    std::vector<std::thread> takers;
    takers.reserve(kTakers);
    for (std::vector<int>& mine : taken) {
        takers.emplace_back([&queue, &mine] {
            RequestTriple request;
            try {
                for (;;) {
                    queue.take(request);
                    mine.push_back(numberOf(request));
                }
            } catch (const WorkerEnd&) {
            }
        });
    }
    std::vector<std::thread> posters;
    posters.reserve(kPosters);
    for (int poster = 0; poster < kPosters; ++poster) {
        posters.emplace_back([&queue, poster] {
            for (int i = 0; i < kEach; ++i) {
                queue.post(numbered(poster * kEach + i));
            }
        });
    }
    for (std::thread& poster : posters) {
        poster.join();
    }
    queue.end();
    for (std::thread& taker : takers) {
        taker.join();
    }
    std::vector<int> all;
    for (const std::vector<int>& mine : taken) {
        all.insert(all.end(), mine.begin(), mine.end());
    }
    std::sort(all.begin(), all.end());
    std::vector<int> expected(static_cast<std::size_t>(kPosters) * kEach);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        expected[i] = static_cast<int>(i);
    }
    EXPECT_EQ(all, expected);
}

TEST(RequestQueue, KeepsTheOrderOfEachPoster) {
    RequestQueue queue;
    std::vector<std::thread> posters;
    posters.reserve(3);
    for (int poster = 0; poster < 3; ++poster) {
        posters.emplace_back([&queue, poster] {
            for (int i = 0; i < 1000; ++i) {
                queue.post(numbered(poster * 1000 + i));
            }
        });
    }
    std::vector<int> last(3, -1);
    RequestTriple request;
    for (int i = 0; i < 3000; ++i) {
        queue.take(request);
        const int number = numberOf(request);
        int& before = last.at(static_cast<std::size_t>(number / 1000));
        EXPECT_EQ(number % 1000, before + 1);
        before = number % 1000;
    }
    for (std::thread& poster : posters) {
        poster.join();
    }
}

TEST(RequestQueue, LetsATakerEmptyItAfterTheEndAndThenEndsIt) {
    RequestQueue queue;
    queue.post(numbered(1));
    queue.post(numbered(2));
    queue.end();
    RequestTriple request;
    queue.take(request);
    queue.take(request);
    EXPECT_EQ(request, numbered(2));
    EXPECT_THROW(queue.take(request), WorkerEnd);
    EXPECT_THROW(queue.take(request), WorkerEnd);
}

TEST(RequestQueue, EndsATakerThatWaits) {
    RequestQueue queue;
    std::atomic<bool> hasTaken = false;
    std::atomic<bool> hasEnded = false;
    std::thread taker([&] {
        RequestTriple request;
        queue.take(request);
        hasTaken = true;
        EXPECT_THROW(queue.take(request), WorkerEnd);
        hasEnded = true;
    });
    queue.post(numbered(1));
    EXPECT_TRUE(test::waitUntil([&] { return hasTaken.load(); }));
    EXPECT_FALSE(hasEnded);
    queue.end();
    taker.join();
    EXPECT_TRUE(hasEnded);
}

TEST(RequestQueue, CountsWhatNobodyTookAndRefusesPostsOnceItIsClosed) {
    RequestQueue queue;
    EXPECT_TRUE(queue.post(numbered(1)));
    EXPECT_TRUE(queue.post(numbered(2)));
    EXPECT_EQ(queue.close(), 2U);
    EXPECT_FALSE(queue.post(numbered(3)));
    EXPECT_EQ(queue.close(), 0U);
}

TEST(RequestQueues, KeepTheKindsApart) {
    RequestQueues queues;
    queues.post(numbered(1), fnUpdate);
    queues.post(numbered(2), fnCreate);
    queues.post(numbered(3), fnRead);
    RequestTriple request;
    queues.take(request, fnRead);
    EXPECT_EQ(request, numbered(3));
    queues.take(request, fnCreate);
    EXPECT_EQ(request, numbered(2));
    queues.take(request, fnUpdate);
    EXPECT_EQ(request, numbered(1));
}

TEST(RequestQueues, ReportAPostAfterTheEnd) {
    RequestQueues queues;
    queues.close();
    testing::internal::CaptureStderr();
    queues.post(numbered(1), fnRead);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ovrhost]: A request posted after the end is dropped: 00001\n");
}

TEST(RequestQueues, RefuseAnUnknownKind) {
    RequestQueues queues;
    constexpr auto kNoKind = static_cast<fnTypes>(3);
    testing::internal::CaptureStderr();
    queues.post(numbered(1), kNoKind);
    RequestTriple request;
    EXPECT_THROW(queues.take(request, kNoKind), WorkerEnd);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ovrhost]: A request of no known kind is dropped: 00001\n"
              "[ovrhost]: A worker takes requests of no known kind: it ends\n");
    EXPECT_EQ(queues.close(), 0U);
}

} // namespace
