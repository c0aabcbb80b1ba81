#include "client/stop.h"

#include "client/errors.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace client {

namespace {

// Rounded up, so that a wait never ends just before its deadline and spins.
int millisecondsUntil(Deadline deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 60'000));
}

} // namespace

Stop::Stop() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!event_.isOpen()) {
        throw Error("cannot make an event descriptor: too many files are open");
    }
}

// NOLINTNEXTLINE(readability-make-member-function-const): see the header
void Stop::request() noexcept {
    const int saved = errno;
    const std::uint64_t one = 1;
    // A full counter has been requested before.
    [[maybe_unused]] const ssize_t written = ::write(event_.number(), &one, sizeof one);
    errno = saved;
}

bool Stop::isRequested() const {
    return waitFor(-1, 0, Clock::now(), this) == WaitResult::stopped;
}

WaitResult waitFor(int descriptor, short events, Deadline deadline, const Stop* stop) {
    // poll ignores negative descriptors. A pipe without a reader reports POLLERR unasked.
    std::array<pollfd, 3> awaited{{
        {.fd = descriptor, .events = events, .revents = 0},
        {.fd = stop != nullptr ? stop->descriptor() : -1, .events = POLLIN, .revents = 0},
        {.fd = stop != nullptr ? stop->pipe() : -1, .events = 0, .revents = 0},
    }};
    while (true) {
        const int count = ::poll(awaited.data(), awaited.size(), millisecondsUntil(deadline));
        if (count > 0) {
            const bool isStopped = awaited[1].revents != 0 || awaited[2].revents != 0;
            return isStopped ? WaitResult::stopped : WaitResult::ready;
        }
        if (count < 0 && errno != EINTR) {
            throw Error("cannot wait on the connection: poll failed");
        }
        if (count == 0 && Clock::now() >= deadline) {
            return WaitResult::timedOut;
        }
    }
}

bool pauseUntil(Deadline deadline, const Stop* stop) {
    return waitFor(-1, 0, deadline, stop) != WaitResult::stopped;
}

} // namespace client
