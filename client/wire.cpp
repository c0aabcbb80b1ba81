// The socket under a connection: hiredis connects, formats and parses; waiting and sending
// are done here, so that every wait has a deadline, can be stopped, and raises no SIGPIPE.
#include "client/wire.h"

#include "client/errors.h"
#include "credentials/redis_credentials.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <hiredis/hiredis.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <utility>

namespace client {

namespace {

constexpr const char* kAdvice = "; start redis-server, or name its address in OSSEL_REDIS";

timeval toTimeval(std::chrono::milliseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::duration<time_t>>(time);
    const auto rest =
        std::chrono::duration_cast<std::chrono::duration<suseconds_t, std::micro>>(time - seconds);
    return {.tv_sec = seconds.count(), .tv_usec = rest.count()};
}

void appendCount(std::string& text, char kind, std::size_t count) {
    std::array<char, 24> digits{};
    const char* const begin = digits.data();
    const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), count).ptr;
    text += kind;
    text.append(begin, end).append("\r\n");
}

// One command as it goes over the wire.
void appendCommand(std::string& text, const Words& words) {
    appendCount(text, '*', words.size());
    for (const std::string& word : words) {
        appendCount(text, '$', word.size());
        text.append(word).append("\r\n");
    }
}

} // namespace

void Wire::Disconnect::operator()(redisContext* context) const {
    redisFree(context);
}

void Wire::fail(const std::string& reason) const {
    throw StoreUnreachable("store " + name_ + ": " + reason);
}

Wire::Wire(const Address& address, std::chrono::milliseconds limit)
    : name_(address.text()), limit_(limit) {
    const timeval time = toTimeval(limit);
    context_.reset(address.path.empty()
                       ? redisConnectWithTimeout(address.host.c_str(), address.port, time)
                       : redisConnectUnixWithTimeout(address.path.c_str(), time));
    if (!context_) {
        fail("cannot connect: out of memory");
    }
    if (context_->err != 0) {
        fail("cannot connect: " + std::string(context_->errstr) + kAdvice);
    }
    redisSetTimeout(context_.get(), time);
    context_->reader->fn = &replyBuilding();
    context_->reader->privdata = &next_;
    authenticate(Clock::now() + limit);
}

void Wire::authenticate(Deadline deadline) {
    const redis_credentials::Credentials credentials = redis_credentials::read();
    if (!credentials.problem.empty()) {
        throw InvalidArgument(credentials.problem);
    }
    if (!credentials.areGiven()) {
        return;
    }
    send({"AUTH", credentials.user, credentials.password}, deadline);
    const std::optional<Reply> reply = receive(deadline, nullptr);
    if (!reply) {
        fail("no reply to AUTH; is the server overloaded or stopped?");
    }
    if (reply->kind == Reply::Kind::error) {
        throw StoreRefused("store " + name_ + ": " + redis_credentials::refusal(reply->text) +
                           "; correct the file of " + redis_credentials::kVariable);
    }
}

void Wire::send(std::span<const Words> commands, Deadline deadline) {
    unsent_.clear();
    for (const Words& words : commands) {
        appendCommand(unsent_, words);
    }
    std::size_t sent = 0;
    while (sent < unsent_.size()) {
        const ssize_t count = ::send(context_->fd, unsent_.data() + sent, unsent_.size() - sent,
                                     MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count >= 0) {
            sent += static_cast<std::size_t>(count);
        } else if (errno != EAGAIN && errno != EINTR) {
            fail("the connection was lost: " + std::generic_category().message(errno) + kAdvice);
        } else if (waitFor(context_->fd, POLLOUT, deadline, nullptr) == WaitResult::timedOut) {
            fail("it takes no command; is the server overloaded or stopped?");
        }
    }
}

std::optional<Reply> Wire::takeBuffered() {
    void* taken = nullptr;
    if (redisGetReplyFromReader(context_.get(), &taken) != REDIS_OK) {
        fail("unreadable reply: " + std::string(context_->errstr) + "; is it a redis-server?");
    }
    if (taken == nullptr) {
        return std::nullopt;
    }
    return std::exchange(next_, Reply());
}

// False: nothing came within the limit.
bool Wire::read() {
    errno = 0;
    if (redisBufferRead(context_.get()) == REDIS_OK) {
        return true;
    }
    if (errno == EAGAIN) {
        return false;
    }
    fail("the connection was lost: " + std::string(context_->errstr) + kAdvice);
}

std::optional<Reply> Wire::receive() {
    if (std::optional<Reply> reply = takeBuffered()) {
        return reply;
    }
    const Deadline deadline = Clock::now() + limit_;
    return read() ? receive(deadline, nullptr) : std::nullopt;
}

std::optional<Reply> Wire::receive(Deadline deadline, const Stop* stop) {
    while (true) {
        if (std::optional<Reply> reply = takeBuffered()) {
            return reply;
        }
        switch (waitFor(context_->fd, POLLIN, deadline, stop)) {
        case WaitResult::timedOut:
            return std::nullopt;
        case WaitResult::stopped:
            throw Stopped("stopped while waiting for the store " + name_);
        case WaitResult::ready:
            break;
        }
        if (!read()) {
            return std::nullopt;
        }
    }
}

bool Wire::isOutOfStep() const {
    return context_->reader->pos != context_->reader->len;
}

bool Wire::isStale() const {
    return waitFor(context_->fd, POLLIN, Clock::now(), nullptr) == WaitResult::ready;
}

} // namespace client
