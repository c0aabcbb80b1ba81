#include "redfish/runtime/worker_pool.h"

#include <atomic>
#include <future>
#include <gmock/gmock.h>
#include <memory>
#include <vector>

namespace {

using redfish::WorkerPool;

TEST(AWorkerPool, RunsWorkOldestFirst) {
    std::vector<int> order;
    std::promise<void> done;
    WorkerPool pool(1, 8);
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(pool.submit([&order, i] { order.push_back(i); }));
    }
    EXPECT_TRUE(pool.submit([&done] { done.set_value(); }));
    done.get_future().get();
    EXPECT_THAT(order, testing::ElementsAre(0, 1, 2, 3));
}

TEST(AWorkerPool, RefusesWorkWhenItsQueueIsFull) {
    std::promise<void> begun;
    std::promise<void> release;
    WorkerPool pool(1, 2);
    ASSERT_TRUE(pool.submit([&] {
        begun.set_value();
        release.get_future().get();
    }));
    begun.get_future().get();
    EXPECT_TRUE(pool.submit([] {}));
    EXPECT_TRUE(pool.submit([] {}));
    EXPECT_FALSE(pool.submit([] {})) << "two wait already";
    release.set_value();
}

TEST(AWorkerPool, RunsAsMuchAtOnceAsItHasThreads) {
    std::promise<void> first;
    std::promise<void> second;
    std::promise<void> done;
    WorkerPool pool(2, 2);
    // Each waits for the other: one thread alone would never finish.
    ASSERT_TRUE(pool.submit([&] {
        first.set_value();
        second.get_future().get();
    }));
    ASSERT_TRUE(pool.submit([&] {
        first.get_future().get();
        second.set_value();
        done.set_value();
    }));
    done.get_future().get();
}

TEST(AWorkerPool, DropsAtItsEndWhatHasNotBegun) {
    std::atomic<int> ran{0};
    std::promise<void> begun;
    std::promise<void> release;
    {
        WorkerPool pool(1, 8);
        ASSERT_TRUE(pool.submit([&] {
            begun.set_value();
            release.get_future().get();
            ++ran;
        }));
        begun.get_future().get();
        // The first piece of work goes on when the pool drops the captures of the second.
        std::shared_ptr<void> dropped(&release, [&release](void*) { release.set_value(); });
        ASSERT_TRUE(pool.submit([&ran, dropped] { ran += 100; }));
        dropped.reset();
    }
    EXPECT_EQ(ran, 1);
}

} // namespace
