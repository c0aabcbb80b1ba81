// A loop for tests: holds posted work until the test's thread runs it.
#pragma once

#include "redfish/runtime/post.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>
#include <utility>

namespace test {

class PostedWork {
public:
    // Posts to this object, from any thread. Borrows it.
    redfish::Post post() {
        return [this](std::function<void()> work) {
            const std::lock_guard guard(mutex_);
            work_.push_back(std::move(work));
            changed_.notify_one();
        };
    }

    // Waits for a piece of work and runs it; a test failure after 20 s without one.
    void runOne() {
        std::unique_lock lock(mutex_);
        ASSERT_TRUE(
            changed_.wait_for(lock, std::chrono::seconds(20), [this] { return !work_.empty(); }));
        const std::function<void()> work = std::move(work_.front());
        work_.pop_front();
        lock.unlock();
        work();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> work_;
};

} // namespace test
