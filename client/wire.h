// One socket to the store: sends commands and receives replies, each up to a deadline of
// its own. It knows nothing of what the commands mean; see client/connection.h.
#pragma once

#include "client/address.h"
#include "client/reply.h"
#include "client/stop.h"

#include <chrono>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

struct redisContext;

namespace client {

using Words = std::vector<std::string>;

// Not for two threads at once. After any exception the wire is out of step: drop it.
class Wire {
public:
    // Connects within `limit`, as the user of OSSEL_REDIS_CREDENTIALS where that is set. Throws
    // StoreUnreachable, StoreRefused, InvalidArgument.
    Wire(const Address& address, std::chrono::milliseconds limit);
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    // Sends commands in one go. Never raises SIGPIPE. Throws StoreUnreachable.
    void send(std::span<const Words> commands, Deadline deadline);
    void send(const Words& words, Deadline deadline) { send(std::span(&words, 1), deadline); }

    // The next reply of a store that answers at once; nothing when none has come within the
    // limit of connecting. Costs one system call then. Throws StoreUnreachable.
    std::optional<Reply> receive();

    // The next reply; nothing when none has come by the deadline. Throws Stopped, and
    // StoreUnreachable when the connection is lost. `stop` may be null.
    std::optional<Reply> receive(Deadline deadline, const Stop* stop);

    // True when something was received that belongs to no command.
    bool isOutOfStep() const;

    // True when the other side has closed it, or has sent something unasked.
    bool isStale() const;

private:
    struct Disconnect {
        void operator()(redisContext* context) const;
    };

    void authenticate(Deadline deadline);
    [[noreturn]] void fail(const std::string& reason) const;
    std::optional<Reply> takeBuffered();
    bool read();

    std::string name_;
    std::chrono::milliseconds limit_;
    std::string unsent_; // kept for its memory
    Reply next_;         // while it is being read
    std::unique_ptr<redisContext, Disconnect> context_;
};

} // namespace client
