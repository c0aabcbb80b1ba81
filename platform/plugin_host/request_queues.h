// The queues between the hook and the workers, one per kind of request, and the take that ends a
// worker.
#pragma once

#include "platform/plugin_host.h"
#include "platform/plugin_host/tally.h"

#include <array>
#include <cstddef>
#include <list>
#include <mutex>

namespace plugin_host {

// Thrown out of a take to end a worker. Has no base class, so that only the place that started the
// thread catches it.
struct WorkerEnd {};

// One first-in-first-out queue. Any number of threads on both sides.
class RequestQueue {
public:
    // Appends a copy and wakes one waiting taker. False: closed, nothing is kept.
    bool post(const RequestTriple& request);

    // Waits for the oldest request and moves it out. Throws WorkerEnd once the queue is ended and
    // empty.
    void take(RequestTriple& request);

    // From now on a taker that finds the queue empty ends.
    void end();

    // Refuses later posts, discards the requests that nobody took, and returns their number.
    std::size_t close();

private:
    void takeFirst(RequestTriple& request);

    Tally available_;  // one for each pending request, and one more from the end on
    std::mutex mutex_; // guards what follows
    std::list<RequestTriple> pending_;
    std::list<RequestTriple> spare_; // taken slots, kept for the memory of their texts
    bool ended_ = false;
    bool closed_ = false;
};

// The queues of the three kinds.
class RequestQueues {
public:
    // A post that nobody will take (closed, or of an unknown kind) costs one error line.
    void post(const RequestTriple& request, fnTypes kind);

    // As RequestQueue::take. An unknown kind has no requests: it ends the worker.
    void take(RequestTriple& request, fnTypes kind);

    // As RequestQueue::end() and close(), of all three; the number of discarded requests in all.
    void end();
    std::size_t close();

private:
    RequestQueue* find(fnTypes kind);

    std::array<RequestQueue, 3> queues_;
};

} // namespace plugin_host
