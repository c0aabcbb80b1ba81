#include "platform/plugin_host/request_queues.h"

#include "platform/plugin_host/error_line.h"

#include <utility>

namespace plugin_host {

namespace {

// Slots kept per queue, so that steady traffic allocates nothing.
constexpr std::size_t kSpareSlots = 8;

} // namespace

bool RequestQueue::post(const RequestTriple& request) {
    {
        const std::lock_guard lock(mutex_);
        if (closed_) {
            return false;
        }
        if (spare_.empty()) {
            pending_.push_back(request);
        } else {
            spare_.front() = request;
            pending_.splice(pending_.end(), spare_, spare_.begin());
        }
    }
    available_.addOne();
    return true;
}

void RequestQueue::take(RequestTriple& request) {
    while (true) {
        available_.takeOne();
        const std::lock_guard lock(mutex_);
        if (!pending_.empty()) {
            takeFirst(request);
            return;
        }
        if (ended_) {
            available_.addOne(); // for the next taker
            throw WorkerEnd{};
        }
    }
}

void RequestQueue::takeFirst(RequestTriple& request) {
    std::swap(request, pending_.front());
    if (spare_.size() < kSpareSlots) {
        spare_.splice(spare_.begin(), pending_, pending_.begin());
    } else {
        pending_.pop_front();
    }
}

void RequestQueue::end() {
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
    }
    available_.addOne();
}

std::size_t RequestQueue::close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    const std::size_t left = pending_.size();
    pending_.clear();
    spare_.clear();
    return left;
}

RequestQueue* RequestQueues::find(fnTypes kind) {
    const auto index = static_cast<std::size_t>(kind);
    return index < queues_.size() ? &queues_[index] : nullptr;
}

void RequestQueues::post(const RequestTriple& request, fnTypes kind) {
    RequestQueue* const queue = find(kind);
    if (queue == nullptr) {
        writeErrorLine("A request of no known kind is dropped: ", std::get<0>(request));
    } else if (!queue->post(request)) {
        writeErrorLine("A request posted after the end is dropped: ", std::get<0>(request));
    }
}

void RequestQueues::take(RequestTriple& request, fnTypes kind) {
    RequestQueue* const queue = find(kind);
    if (queue == nullptr) {
        writeErrorLine("A worker takes requests of no known kind: it ends");
        throw WorkerEnd{};
    }
    queue->take(request);
}

void RequestQueues::end() {
    for (RequestQueue& queue : queues_) {
        queue.end();
    }
}

std::size_t RequestQueues::close() {
    std::size_t left = 0;
    for (RequestQueue& queue : queues_) {
        left += queue.close();
    }
    return left;
}

} // namespace plugin_host
