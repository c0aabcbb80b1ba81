// Ends waits from outside: a signal handler or another thread requests it, every wait that
// was given it ends at once with Stopped. Commands in flight are short and not cut off.
#pragma once

#include <chrono>

namespace client {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

class Stop {
public:
    Stop(); // throws Error where the system has no descriptor left
    ~Stop();
    Stop(const Stop&) = delete;
    Stop& operator=(const Stop&) = delete;

    // Any thread, and signal handlers. Lasting: there is no way back.
    // Not const, although it could be: waits take a const Stop and may not request.
    void request() noexcept;

    // From now on the end of the reader at the other side of a pipe or socket counts as
    // a request too. One descriptor, borrowed.
    void watchReaderOf(int descriptor) { pipe_ = descriptor; }

    bool isRequested() const;

    int descriptor() const { return event_; }
    int pipe() const { return pipe_; }

private:
    int event_ = -1;
    int pipe_ = -1;
};

enum class WaitResult { ready, timedOut, stopped };

// Waits until the descriptor is ready for `events` (as of poll), has failed, or the
// deadline has passed. A stop wins over a ready descriptor, so that a
// busy one cannot keep it off. `stop` may be null.
WaitResult waitFor(int descriptor, short events, Deadline deadline, const Stop* stop);

// Waits for nothing but the stop. False where it was requested.
bool pauseUntil(Deadline deadline, const Stop* stop);

} // namespace client
