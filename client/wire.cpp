// Turns the failures of a redis::Connection into exceptions that name the server and the way out.
#include "client/wire.h"

#include "client/errors.h"
#include "redis/credentials.h"

#include <poll.h>

namespace client {

namespace {

constexpr const char* kReachAdvice = "; start redis-server, or name its address in OSSEL_REDIS";

} // namespace

Wire::Wire(const Address& address, std::chrono::milliseconds limit) : name_(address.text()) {
    if (!connection_.open(address, Clock::now() + limit)) {
        fail();
    }
}

void Wire::fail() const {
    const std::string store = "store " + name_ + ": ";
    const std::string& reason = connection_.reason();
    switch (connection_.failure()) {
    case redis::Failure::credentials:
        throw InvalidArgument(reason);
    case redis::Failure::refused:
        throw StoreRefused(store + reason + "; correct the file of " + redis::kCredentialsVariable);
    case redis::Failure::nonsense:
        throw StoreUnreachable(store + "unreadable reply: " + reason + "; is it a redis-server?");
    case redis::Failure::timedOut:
        throw StoreUnreachable(store + reason + "; is the server overloaded or stopped?");
    case redis::Failure::unreachable:
        throw StoreUnreachable(store + "cannot connect: " + reason + kReachAdvice);
    default:
        throw StoreUnreachable(store + "the connection was lost: " + reason + kReachAdvice);
    }
}

void Wire::send(std::span<const Words> commands, Deadline deadline) {
    for (const Words& words : commands) {
        connection_.append(words);
    }
    if (!connection_.send(deadline)) {
        fail();
    }
}

std::optional<Reply> Wire::receive(Deadline deadline) {
    Reply reply;
    if (connection_.await(reply, deadline)) {
        return reply;
    }
    if (connection_.failure() == redis::Failure::timedOut) {
        return std::nullopt;
    }
    fail();
}

std::optional<Reply> Wire::receive(Deadline deadline, const Stop* stop) {
    Reply reply;
    while (!connection_.next(reply)) {
        if (!connection_.isOpen()) {
            fail();
        }
        switch (waitFor(connection_.descriptor(), POLLIN, deadline, stop)) {
        case WaitResult::timedOut:
            return std::nullopt;
        case WaitResult::stopped:
            throw Stopped("stopped while waiting for the store " + name_);
        case WaitResult::ready:
            break;
        }
        if (!connection_.receive()) {
            fail();
        }
    }
    return reply;
}

} // namespace client
