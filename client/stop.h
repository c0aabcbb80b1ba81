// Ends waits from outside: a signal handler or another thread requests the stop, and every wait
// that was given it ends at once with Stopped. Commands in flight are short and not cut off.
#pragma once

#include "descriptor.h"

#include <chrono>

namespace client {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

class Stop {
public:
    Stop(); // throws Error when the process has no descriptor left
    Stop(const Stop&) = delete;
    Stop& operator=(const Stop&) = delete;

    // Any thread, and signal handlers. Cannot be taken back. Not const, although it could be:
    // waits take a const Stop and may not request one.
    void request() noexcept;

    // From now on, the reader's hanging up at the other end of this pipe or socket counts as a
    // request too. One descriptor, borrowed.
    void watchReaderOf(int descriptor) { pipe_ = descriptor; }

    // True after request(), and once a watched reader has gone.
    bool isRequested() const;

    // For poll: readable once the stop was requested, and the watched one or -1.
    int descriptor() const { return event_.number(); }
    int pipe() const { return pipe_; }

private:
    Descriptor event_;
    int pipe_ = -1;
};

enum class WaitResult { ready, timedOut, stopped };

// Waits until the descriptor is ready for `events` (as of poll), has failed, or the deadline has
// passed. A stop wins over a ready descriptor, so that a busy one cannot hold it off. `stop` may be
// null. Throws Error when the system cannot wait.
WaitResult waitFor(int descriptor, short events, Deadline deadline, const Stop* stop);

// Sleeps until the deadline. False when it was stopped.
bool pauseUntil(Deadline deadline, const Stop* stop);

} // namespace client
