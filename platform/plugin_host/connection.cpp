// Connecting, sending and receiving. Commands are sent past hiredis, whose write would
// raise SIGPIPE on a connection that the server has closed.
#include "platform/plugin_host/connection.h"

#include "credentials/redis_credentials.h"
#include "platform/plugin_host/event.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <sys/socket.h>
#include <system_error>
#include <utility>
#include <vector>

namespace plugin_host {

namespace {

constexpr timeval kBound{kCommandBound.count(), 0};

struct FreeCommand {
    void operator()(char* command) const { redisFreeCommand(command); }
};

constexpr std::size_t kReceivedAtOnce = 16384;

bool take(std::string_view& rest, std::string_view beginning) {
    if (!rest.starts_with(beginning)) {
        return false;
    }
    rest.remove_prefix(beginning.size());
    return true;
}

// Takes one text with its length before it. Nothing when it is not there as a whole.
std::optional<std::string_view> takeText(std::string_view& rest) {
    if (!take(rest, "$")) {
        return std::nullopt;
    }
    std::size_t length = 0;
    const char* const end = rest.data() + rest.size();
    const auto [stop, error] = std::from_chars(rest.data(), end, length);
    rest.remove_prefix(static_cast<std::size_t>(stop - rest.data()));
    if (error != std::errc() || !take(rest, "\r\n") || length > rest.size()) {
        return std::nullopt;
    }
    const std::string_view text = rest.substr(0, length);
    rest.remove_prefix(length);
    return take(rest, "\r\n") ? std::optional(text) : std::nullopt;
}

} // namespace

bool Connection::fail(std::string reason) {
    reason_ = std::move(reason);
    context_.reset();
    return false;
}

bool Connection::failAsHiredisSays() {
    const redisContext& context = *context_;
    return fail(context.errstr);
}

bool Connection::open(const Address& address) {
    const bool isUnix = !address.path.empty();
    if (!address.isKnown()) {
        return fail("OSSEL_REDIS is neither unix:PATH nor tcp:HOST:PORT");
    }
    context_.reset(isUnix ? redisConnectUnixWithTimeout(address.path.c_str(), kBound)
                          : redisConnectWithTimeout(address.host.c_str(), address.port, kBound));
    if (context_ == nullptr) {
        return fail("no memory for a connection");
    }
    // The keep-alive tells, without waking anybody, of a server whose machine is gone.
    if (context_->err != 0 || redisSetTimeout(context_.get(), kBound) != REDIS_OK ||
        (!isUnix && redisEnableKeepAlive(context_.get()) != REDIS_OK)) {
        return failAsHiredisSays();
    }
    ::fcntl(context_->fd, F_SETFD, FD_CLOEXEC);
    if (buffer_ == nullptr) {
        buffer_ = std::make_unique_for_overwrite<char[]>(kReceivedAtOnce);
    }
    received_ = {};
    isReaderBusy_ = false;
    return authenticate();
}

// As a user of the store, where one is named.
bool Connection::authenticate() {
    const redis_credentials::Credentials credentials = redis_credentials::read();
    if (!credentials.problem.empty()) {
        return fail(credentials.problem);
    }
    if (!credentials.areGiven()) {
        return true;
    }
    if (!send({"AUTH", credentials.user, credentials.password})) {
        return false;
    }
    const ReplyPtr reply = await(Clock::now() + kCommandBound);
    return reply && (reply->type != REDIS_REPLY_ERROR ||
                     fail(redis_credentials::refusal({reply->str, reply->len})));
}

bool Connection::send(std::initializer_list<std::string_view> words) {
    std::vector<const char*> arguments;
    std::vector<std::size_t> lengths;
    for (const std::string_view word : words) {
        arguments.push_back(word.data());
        lengths.push_back(word.size());
    }
    char* formatted = nullptr;
    const int length = redisFormatCommandArgv(&formatted, static_cast<int>(words.size()),
                                              arguments.data(), lengths.data());
    const std::unique_ptr<char, FreeCommand> command(formatted);
    if (length < 0) {
        return fail("no memory for a command");
    }
    std::string_view rest(command.get(), static_cast<std::size_t>(length));
    while (!rest.empty()) {
        const ssize_t sent = ::send(context_->fd, rest.data(), rest.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno != EINTR) {
            return fail(std::generic_category().message(errno));
        }
    }
    return true;
}

std::optional<std::string_view> Connection::nextPayload() {
    std::string_view rest = received_;
    if (!take(rest, "*3\r\n$7\r\nmessage\r\n") || !takeText(rest)) {
        return std::nullopt;
    }
    const std::optional<std::string_view> payload = takeText(rest);
    if (payload) {
        received_ = rest;
    }
    return payload;
}

// Everything that was received is for hiredis's reader now.
void Connection::feedReader() {
    if (!received_.empty()) {
        redisReaderFeed(context_->reader, received_.data(), received_.size());
        received_ = {};
        isReaderBusy_ = true;
    }
}

ReplyPtr Connection::next() {
    feedReader();
    void* reply = nullptr;
    if (redisGetReplyFromReader(context_.get(), &reply) != REDIS_OK) {
        failAsHiredisSays();
    } else if (reply != nullptr && context_->reader->pos == context_->reader->len) {
        isReaderBusy_ = false;
    }
    return ReplyPtr(static_cast<redisReply*>(reply));
}

bool Connection::receive() {
    const ssize_t length = ::recv(context_->fd, buffer_.get(), kReceivedAtOnce, 0);
    if (length == 0) {
        return fail("Server closed the connection");
    }
    if (length < 0) {
        return errno == EINTR || fail(std::generic_category().message(errno));
    }
    received_ = {buffer_.get(), static_cast<std::size_t>(length)};
    if (isReaderBusy_) {
        feedReader();
    }
    return true;
}

ReplyPtr Connection::await(Clock::time_point deadline) {
    while (isOpen()) {
        ReplyPtr reply = next();
        if (reply || !isOpen()) {
            return reply;
        }
        pollfd socket{descriptor(), POLLIN, 0};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (pollAll(&socket, 1, std::max(left, std::chrono::milliseconds(0))) <= 0) {
            fail("no answer in time");
        } else {
            receive();
        }
    }
    return nullptr;
}

} // namespace plugin_host
