// The socket under a connection: hiredis connects, formats and parses; waiting and sending
// are done here, so that every wait has a deadline, can be stopped, and raises no SIGPIPE.
#include "client/wire.h"

#include "client/errors.h"
#include "platform/redis_credentials.h"

#include <cerrno>
#include <hiredis/hiredis.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>

namespace client {

namespace {

constexpr const char* kAdvice = "; start redis-server, or name its address in OSSEL_REDIS";

timeval toTimeval(std::chrono::milliseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::duration<time_t>>(time);
    const auto rest =
        std::chrono::duration_cast<std::chrono::duration<suseconds_t, std::micro>>(time - seconds);
    return {.tv_sec = seconds.count(), .tv_usec = rest.count()};
}

// The text of one command as it goes over the wire.
class Formatted {
public:
    explicit Formatted(const Words& words) {
        std::vector<const char*> texts;
        std::vector<std::size_t> lengths;
        for (const std::string& word : words) {
            texts.push_back(word.data());
            lengths.push_back(word.size());
        }
        length_ = redisFormatCommandArgv(&text_, static_cast<int>(words.size()), texts.data(),
                                         lengths.data());
    }
    ~Formatted() { redisFreeCommand(text_); }
    Formatted(const Formatted&) = delete;
    Formatted& operator=(const Formatted&) = delete;

    const char* data() const { return text_; }
    std::size_t size() const { return length_ < 0 ? 0 : static_cast<std::size_t>(length_); }

private:
    char* text_ = nullptr;
    int length_ = 0;
};

} // namespace

void Wire::Disconnect::operator()(redisContext* context) const {
    redisFree(context);
}

void Wire::fail(const std::string& reason) const {
    throw StoreUnreachable("store " + name_ + ": " + reason);
}

Wire::Wire(const Address& address, std::chrono::milliseconds limit) : name_(address.text()) {
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

void Wire::send(const Words& words, Deadline deadline) {
    const Formatted command(words);
    std::size_t sent = 0;
    while (sent < command.size()) {
        const ssize_t count = ::send(context_->fd, command.data() + sent, command.size() - sent,
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
    void* raw = nullptr;
    if (redisGetReplyFromReader(context_.get(), &raw) != REDIS_OK) {
        fail("unreadable reply: " + std::string(context_->errstr) + "; is it a redis-server?");
    }
    const std::unique_ptr<void, decltype(&freeReplyObject)> owner(raw, freeReplyObject);
    if (raw == nullptr) {
        return std::nullopt;
    }
    return makeReply(*static_cast<const redisReply*>(raw));
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
        if (redisBufferRead(context_.get()) != REDIS_OK) {
            fail("the connection was lost: " + std::string(context_->errstr) + kAdvice);
        }
    }
}

bool Wire::isStale() const {
    return waitFor(context_->fd, POLLIN, Clock::now(), nullptr) == WaitResult::ready;
}

} // namespace client
