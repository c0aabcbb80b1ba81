#include "redfish/runtime/worker_pool.h"

#include <utility>

namespace redfish {

WorkerPool::WorkerPool(std::size_t threads, std::size_t maxWaiting) : maxWaiting_(maxWaiting) {
    for (std::size_t i = 0; i < threads; ++i) {
        threads_.emplace_back([this] { run(); });
    }
}

WorkerPool::~WorkerPool() {
    {
        const std::lock_guard guard(mutex_);
        isStopping_ = true;
        waiting_.clear();
    }
    changed_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

bool WorkerPool::submit(std::function<void()> work) {
    {
        const std::lock_guard guard(mutex_);
        if (isStopping_ || waiting_.size() >= maxWaiting_) {
            return false;
        }
        waiting_.push_back(std::move(work));
    }
    changed_.notify_one();
    return true;
}

void WorkerPool::run() {
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return isStopping_ || !waiting_.empty(); });
        if (isStopping_) {
            return;
        }
        std::function<void()> work = std::move(waiting_.front());
        waiting_.pop_front();
        lock.unlock();
        work();
        work = nullptr; // destroys what it captured outside of the lock
        lock.lock();
    }
}

} // namespace redfish
