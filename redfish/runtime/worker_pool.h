// Threads for work that blocks: the store's answers, password hashes.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace redfish {

// A fixed number of threads behind one bounded queue, oldest work first.
class WorkerPool {
public:
    // Starts `threads` threads; up to `maxWaiting` pieces of work wait while all are busy.
    WorkerPool(std::size_t threads, std::size_t maxWaiting);
    // Drops work that has not begun and waits for work that has.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    // Queues the work, which must not throw. False if the queue is full: the work is dropped and
    // the caller answers "busy". Any thread.
    bool submit(std::function<void()> work);

private:
    // What each thread does until the end.
    void run();

    std::size_t maxWaiting_;
    // Guards the queue and the flag below.
    std::mutex mutex_;
    std::deque<std::function<void()>> waiting_;
    bool isStopping_ = false;
    std::condition_variable changed_;
    // Joined by the destructor.
    std::vector<std::thread> threads_;
};

} // namespace redfish
