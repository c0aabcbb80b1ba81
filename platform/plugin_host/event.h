// A flag that one thread raises and another waits for with poll, beside its sockets. It stays
// raised.
#pragma once

#include "descriptor.h"

#include <cerrno>
#include <chrono>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>

namespace plugin_host {

// poll that resumes after a signal. A negative limit means none; an expired one polls once.
inline int pollAll(pollfd* descriptors, nfds_t count, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    const bool endless = limit.count() < 0;
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        const int timeout = endless ? -1 : left.count() > 0 ? static_cast<int>(left.count()) : 0;
        const int ready = ::poll(descriptors, count, timeout);
        if (ready >= 0 || errno != EINTR) {
            return ready;
        }
    }
}

class Event {
public:
    Event() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (!descriptor_.isOpen()) {
            throw std::system_error(errno, std::generic_category(), "eventfd");
        }
    }

    void raise() const noexcept { ::eventfd_write(descriptor(), 1); }

    // Readable once raised.
    int descriptor() const { return descriptor_.number(); }

    // True when it is raised before the limit has passed.
    bool waitFor(std::chrono::milliseconds limit) const {
        pollfd waited{descriptor(), POLLIN, 0};
        return pollAll(&waited, 1, limit) > 0;
    }

private:
    Descriptor descriptor_;
};

} // namespace plugin_host
