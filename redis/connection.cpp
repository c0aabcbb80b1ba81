// The socket is a blocking one with a time-out: an answer that comes at once costs one system call,
// and only one that does not is waited for with poll.
#include "redis/connection.h"

#include "redis/credentials.h"
#include "text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <utility>

namespace redis {

namespace {

using std::chrono::milliseconds;

constexpr const char* kTimedOut = "no answer within 2 s";
static_assert(kTimeout == std::chrono::seconds(2));

// The socket's own time-out for receiving. Below kTimeout, so that a deadline that was set just
// before leaves room for it.
constexpr milliseconds kSocketTimeout = kTimeout - milliseconds(50);

constexpr std::size_t kMaxKeptBytes = std::size_t{64} * 1024;

milliseconds left(Deadline deadline) {
    return std::max(std::chrono::ceil<milliseconds>(deadline - Clock::now()), milliseconds(0));
}

bool setTimeout(int socket, int option, milliseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::duration<time_t>>(time);
    const std::chrono::duration<suseconds_t, std::micro> rest = time - seconds;
    const timeval value{.tv_sec = seconds.count(), .tv_usec = rest.count()};
    return ::setsockopt(socket, SOL_SOCKET, option, &value, sizeof value) == 0;
}

bool setOption(int socket, int level, int option, int value) {
    return ::setsockopt(socket, level, option, &value, sizeof value) == 0;
}

// Connects within `time`. Not open: errno tells why.
Descriptor connected(const SocketAddress& address, milliseconds time) {
    Descriptor socket(::socket(address.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const Deadline deadline = Clock::now() + time;
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): how sockets are addressed
    const auto* const peer = reinterpret_cast<const sockaddr*>(&address.storage);
    // The time-out of sending bounds connecting too; zero would mean none.
    while (socket.isOpen() &&
           setTimeout(socket.number(), SO_SNDTIMEO, std::max(left(deadline), milliseconds(1)))) {
        if (::connect(socket.number(), peer, address.length) == 0) {
            return socket;
        }
        if (errno == EAGAIN || errno == EINPROGRESS) {
            errno = ETIMEDOUT;
        }
        if (errno != EINTR) {
            break;
        }
    }
    const int reason = errno;
    socket.reset();
    errno = reason;
    return socket;
}

SocketAddress unixAddress(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    copyBounded(address.sun_path, path);
    SocketAddress result;
    result.length = sizeof address;
    std::memcpy(&result.storage, &address, sizeof address);
    return result;
}

} // namespace

bool Connection::fail(Failure failure, std::string reason) {
    close();
    failure_ = failure;
    reason_ = std::move(reason);
    return false;
}

bool Connection::failBySystem(Failure failure) {
    return fail(failure, std::generic_category().message(errno));
}

void Connection::close() noexcept {
    socket_.reset();
    unsent_.clear();
    reader_.clear();
}

bool Connection::open(const Address& address, Deadline deadline) {
    close();
    failure_ = Failure::none;
    reason_.clear();
    const bool isTcp = address.path.empty();
    LookUpResult found;
    if (isTcp) {
        found = lookUp(address.host, address.port, deadline);
    } else {
        found.addresses.push_back(unixAddress(address.path));
    }
    if (!found.problem.empty()) {
        return fail(Failure::unreachable, found.problem);
    }
    connectTo(found.addresses, deadline);
    return isOpen() && equip(isTcp) && authenticate(deadline);
}

// Each address gets an equal share of the time that is left.
void Connection::connectTo(const std::vector<SocketAddress>& addresses, Deadline deadline) {
    auto remaining = static_cast<long>(addresses.size());
    for (const SocketAddress& address : addresses) {
        socket_ = connected(address, left(deadline) / remaining--);
        if (isOpen()) {
            return;
        }
    }
    failBySystem(Failure::unreachable);
}

bool Connection::equip(bool isTcp) {
    constexpr int kAboveStandardStreams = 3;
    if (descriptor() < kAboveStandardStreams) {
        socket_ = Descriptor(::fcntl(descriptor(), F_DUPFD_CLOEXEC, kAboveStandardStreams));
    }
    bool isDone = isOpen() && setTimeout(descriptor(), SO_RCVTIMEO, kSocketTimeout);
    if (isDone && isTcp) {
        // Keep-alive detects a server whose machine is gone without waking anybody.
        isDone = setOption(descriptor(), IPPROTO_TCP, TCP_NODELAY, 1) &&
                 setOption(descriptor(), SOL_SOCKET, SO_KEEPALIVE, 1) &&
                 setOption(descriptor(), IPPROTO_TCP, TCP_KEEPIDLE, 15) &&
                 setOption(descriptor(), IPPROTO_TCP, TCP_KEEPINTVL, 5) &&
                 setOption(descriptor(), IPPROTO_TCP, TCP_KEEPCNT, 3);
    }
    return isDone || failBySystem(Failure::unreachable);
}

bool Connection::authenticate(Deadline deadline) {
    const Credentials credentials = readCredentials();
    if (!credentials.problem.empty()) {
        return fail(Failure::credentials, credentials.problem);
    }
    if (!credentials.areGiven()) {
        return true;
    }
    append(ShortCommand{"AUTH", credentials.user, credentials.password});
    Reply reply;
    if (!send(deadline) || !await(reply, deadline)) {
        return false;
    }
    return reply.kind == Reply::Kind::status || fail(Failure::refused, describeRefusal(reply.text));
}

bool Connection::isQuiet() const {
    if (!isOpen() || hasLeftover()) {
        return false;
    }
    char byte = 0;
    const ssize_t waiting = ::recv(descriptor(), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return waiting < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
}

bool Connection::send(Deadline deadline) {
    std::string_view rest = unsent_;
    while (!rest.empty()) {
        const ssize_t sent =
            ::send(descriptor(), rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno == EAGAIN) {
            if (!waitFor(POLLOUT, deadline)) {
                return false;
            }
        } else if (errno != EINTR) {
            return failSending();
        }
    }
    unsent_.clear();
    if (unsent_.capacity() > kMaxKeptBytes) {
        unsent_.shrink_to_fit();
    }
    return true;
}

// A server at its limit of clients says so and hangs up: its text explains more than the error of
// the write.
bool Connection::failSending() {
    const std::string reason = std::generic_category().message(errno);
    Reply reply;
    if (receiveWith(MSG_DONTWAIT) && next(reply) && reply.isError()) {
        return fail(Failure::lost, reply.text);
    }
    return fail(Failure::lost, reason);
}

bool Connection::next(Reply& reply) {
    switch (reader_.next(reply)) {
    case ReplyReader::Found::reply:
        return true;
    case ReplyReader::Found::nonsense:
        return fail(Failure::nonsense, reader_.problem());
    case ReplyReader::Found::incomplete:
        break;
    }
    return false;
}

bool Connection::receive() {
    return receiveWith(MSG_DONTWAIT);
}

bool Connection::receiveWith(int flags) {
    const std::span<char> room = reader_.room();
    const ssize_t length = ::recv(descriptor(), room.data(), room.size(), flags);
    if (length > 0) {
        reader_.added(static_cast<std::size_t>(length));
        return true;
    }
    if (length == 0) {
        return fail(Failure::lost, "Server closed the connection");
    }
    return errno == EINTR || errno == EAGAIN || failBySystem(Failure::lost);
}

// Until something was received, or an interruption.
bool Connection::receiveBy(Deadline deadline) {
    if (deadline - Clock::now() >= kSocketTimeout) {
        return receiveWith(0);
    }
    return waitFor(POLLIN, deadline) && receiveWith(MSG_DONTWAIT);
}

bool Connection::await(Reply& reply, Deadline deadline) {
    while (isOpen()) {
        if (next(reply)) {
            return true;
        }
        if (!isOpen() || !receiveBy(deadline)) {
            return false;
        }
    }
    return false;
}

// False: failed, the deadline has passed.
bool Connection::waitFor(short events, Deadline deadline) {
    pollfd waited{.fd = descriptor(), .events = events, .revents = 0};
    while (::poll(&waited, 1, static_cast<int>(left(deadline).count())) <= 0) {
        if (Clock::now() >= deadline) {
            return fail(Failure::timedOut, kTimedOut);
        }
    }
    return true;
}

} // namespace redis
