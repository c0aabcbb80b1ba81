// A few threads for work that blocks: the store's answers, password checks.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace redfish {

class WorkerPool {
public:
    // `mostWaiting`: pieces of work that may wait for a thread.
    WorkerPool(std::size_t threads, std::size_t mostWaiting);
    // Work that has not begun is dropped; what has begun is waited for.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    // False when too much is waiting already. The work must not throw. Any thread.
    bool submit(std::function<void()> work);

private:
    void run();

    std::size_t mostWaiting_;
    std::mutex mutex_; // guards the two below
    std::deque<std::function<void()>> waiting_;
    bool isStopping_ = false;
    std::condition_variable changed_;
    std::vector<std::thread> threads_;
};

} // namespace redfish
