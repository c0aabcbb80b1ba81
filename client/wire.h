// A connection to the store whose failures are exceptions and whose waits can be stopped.
//
// For everything here:
//   threads  one at a time
//   throws   what each function names; after an exception the wire is out of step: drop it
#pragma once

#include "client/address.h"
#include "client/stop.h"
#include "redis/connection.h"

#include <chrono>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace client {

using redis::Reply;

// The words of a command, sent as they are: nothing is quoted or split.
using Words = std::vector<std::string>;

class Wire {
public:
    // Looks the host up, connects and authenticates within `limit`, as the user of
    // OSSEL_REDIS_CREDENTIALS where that is set. Throws StoreUnreachable, StoreRefused (user or
    // password), InvalidArgument (the credentials file).
    Wire(const Address& address, std::chrono::milliseconds limit);

    // Sends commands in one go. Throws StoreUnreachable, also when they are not taken in time.
    void send(std::span<const Words> commands, Deadline deadline);
    void send(const Words& words, Deadline deadline) { send(std::span(&words, 1), deadline); }

    // The next reply. Nothing when it does not come by the deadline: the connection is closed
    // then. For a store that answers at once: costs a single system call then. Throws
    // StoreUnreachable.
    std::optional<Reply> receive(Deadline deadline);

    // The next reply. Nothing when it does not come by the deadline: the wire stays usable.
    // Throws Stopped (`stop` may be null) and StoreUnreachable.
    std::optional<Reply> receive(Deadline deadline, const Stop* stop);

    // True when something was received beyond the replies that were taken.
    bool isOutOfStep() const { return connection_.hasLeftover(); }

    // True when the other side has closed the connection, or has sent something unasked.
    bool isStale() const { return !connection_.isQuiet(); }

private:
    [[noreturn]] void fail() const;

    std::string name_;
    redis::Connection connection_;
};

} // namespace client
