// One connection to the store: opened as the configured user, with a deadline on every wait. What
// the commands mean, and whether to try again, is up to its owner.
#pragma once

#include "descriptor.h"
#include "redis/address.h"
#include "redis/command.h"
#include "redis/lookup.h"
#include "redis/reply_reader.h"

#include <chrono>
#include <string>
#include <string_view>

namespace redis {

// How long opening, and how long one attempt at a command (sending and receiving), may take.
inline constexpr std::chrono::seconds kTimeout{2};

enum class Failure : std::uint8_t {
    none,
    credentials, // the file of OSSEL_REDIS_CREDENTIALS is unusable
    refused,     // the server refuses user and password
    unreachable, // no connection came about
    timedOut,    // the deadline passed
    lost,        // an open connection broke
    nonsense,    // what came is not a reply, exceeds a limit, or was not asked for
};

// One thread at a time. Every failure closes the connection, and failure() and reason() keep its
// cause until the next open(). Never raises SIGPIPE. May throw std::bad_alloc.
class Connection {
public:
    // Looks the host up, connects, and sends the credentials, where some are configured. Closes
    // what was open before. Its descriptor is above the standard streams and closed on exec.
    bool open(const Address& address, Deadline deadline);
    void close() noexcept;

    bool isOpen() const { return socket_.isOpen(); }
    int descriptor() const { return socket_.number(); }
    Failure failure() const { return failure_; }
    const std::string& reason() const {
        return reason_;
    } // one line, unless the server's text is not

    // True when it is open, nothing was received that nobody took, and nothing waits to be read:
    // fit for the next command. Costs one system call.
    bool isQuiet() const;
    // True when bytes were received beyond the replies that were taken.
    bool hasLeftover() const { return !reader_.isEmpty(); }

    // Adds a command to those that the next send() takes.
    void append(Command command) { appendCommand(unsent_, command); }
    void append(std::span<const std::string> words) { appendCommand(unsent_, words); }
    void appendBytes(std::string_view command) { unsent_ += command; } // as of appendCommand

    // Sends all that was appended. False: failed.
    bool send(Deadline deadline);

    // Takes the next whole reply of what was received; does not wait. The memory of `reply` is
    // reused. False: there is none yet, or the connection failed.
    bool next(Reply& reply);
    // Receives what the socket holds; does not wait. False: failed.
    bool receive();
    // As next(), waiting for the reply. False: failed.
    bool await(Reply& reply, Deadline deadline);

    // Closes the connection for this reason. Always false.
    bool fail(Failure failure, std::string reason);

private:
    void connectTo(const std::vector<SocketAddress>& addresses, Deadline deadline);
    bool equip(bool isTcp);
    bool authenticate(Deadline deadline);
    bool failBySystem(Failure failure);
    bool failSending();
    bool waitFor(short events, Deadline deadline);
    bool receiveWith(int flags);
    bool receiveBy(Deadline deadline);

    Descriptor socket_;
    std::string unsent_; // kept for its memory
    ReplyReader reader_;
    Failure failure_ = Failure::none;
    std::string reason_;
};

} // namespace redis
