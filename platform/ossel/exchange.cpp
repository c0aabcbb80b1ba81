// The round trip itself, its time limit, the second try and the reading of errors. Opening
// connections is left to connection.cpp.
#include "platform/ossel/exchange.h"

#include "platform/ossel/complaints.h"
#include "platform/ossel/connection.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <vector>

namespace ossel {

namespace {

using Clock = std::chrono::steady_clock;

static_assert(kCommandTimeout == std::chrono::seconds(2));
// More than any flat reply that the store is used for; what is longer takes several turns.
constexpr std::size_t kReceivedAtOnce = 4096;
constexpr const char* kTimedOut = "no answer within 2 s";
constexpr const char* kOutOfStep = "more was answered than asked";

// One attempt at a round trip. The first read is bounded by the socket's own time-out and
// costs no further system call; only a reply in pieces is waited for by the clock.
class Attempt {
public:
    explicit Attempt(redisContext& context)
        : context_(context), deadline_(Clock::now() + kCommandTimeout) {}

    bool run(std::string_view request, std::span<Reply> replies) {
        return send(request) && receive(replies);
    }

    // The connection broke: a server that is merely silent is not asked twice.
    bool isBroken() const {
        return !timedOut_ && (context_.err == REDIS_ERR_EOF || context_.err == REDIS_ERR_IO);
    }

private:
    bool send(std::string_view rest) {
        while (true) {
            const ssize_t sent = ::send(context_.fd, rest.data(), rest.size(), MSG_NOSIGNAL);
            if (sent < 0 && errno == EAGAIN) {
                return timeOut();
            }
            if (sent < 0 && errno != EINTR) {
                breakOff();
                return explainClosing();
            }
            rest.remove_prefix(sent < 0 ? 0 : static_cast<std::size_t>(sent));
            if (rest.empty()) {
                return true;
            }
            if (Clock::now() >= deadline_) {
                return timeOut();
            }
        }
    }

    // Usually all replies come in one piece. What does not, or is not flat, is hiredis's.
    bool receive(std::span<Reply> replies) {
        std::array<char, kReceivedAtOnce> buffer; // NOLINT(*-member-init): filled by recv
        std::string_view received;
        if (!receiveSome(buffer, received)) {
            return false;
        }
        if (readFlatReplies(received, replies)) {
            return true;
        }
        redisReaderFeed(context_.reader, received.data(), received.size());
        return std::all_of(replies.begin(), replies.end(),
                           [&](Reply& reply) { return receiveOne(reply, buffer); }) &&
               nothingIsLeft();
    }

    bool receiveOne(Reply& reply, std::span<char> buffer) {
        while (true) {
            void* next = nullptr;
            if (redisGetReplyFromReader(&context_, &next) != REDIS_OK) {
                return false;
            }
            if (next != nullptr) {
                reply = Reply(static_cast<redisReply*>(next));
                return true;
            }
            if (!waitReadable()) {
                return timeOut();
            }
            std::string_view received;
            if (!receiveSome(buffer, received)) {
                return false;
            }
            redisReaderFeed(context_.reader, received.data(), received.size());
        }
    }

    // What the socket holds, waited for as long as the socket's own time-out; nothing after an
    // interruption.
    bool receiveSome(std::span<char> buffer, std::string_view& received) {
        const ssize_t length = ::recv(context_.fd, buffer.data(), buffer.size(), 0);
        if (length > 0) {
            received = {buffer.data(), static_cast<std::size_t>(length)};
            return true;
        }
        if (length == 0) {
            putInError(context_, "Server closed the connection", REDIS_ERR_EOF);
            return false;
        }
        return errno == EINTR || (errno == EAGAIN ? timeOut() : breakOff());
    }

    bool waitReadable() const {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now()).count();
        pollfd descriptor{context_.fd, POLLIN, 0};
        return left > 0 && ::poll(&descriptor, 1, static_cast<int>(left)) > 0;
    }

    bool nothingIsLeft() {
        if (context_.reader->pos == context_.reader->len) {
            return true;
        }
        putInError(context_, kOutOfStep);
        return false;
    }

    bool timeOut() {
        timedOut_ = true;
        putInError(context_, kTimedOut);
        return false;
    }

    // Nothing more passes, for the reason that errno names.
    bool breakOff() {
        putInError(context_, std::generic_category().message(errno).c_str(), REDIS_ERR_IO);
        return false;
    }

    // A server at its connection limit says so and hangs up; its text tells more than the
    // failed write.
    bool explainClosing() {
        std::array<char, sizeof(context_.errstr)> text{};
        const ssize_t length = ::recv(context_.fd, text.data(), text.size() - 1, MSG_DONTWAIT);
        if (length > 1 && text.front() == '-') {
            *std::find(text.begin(), text.end() - 1, '\r') = '\0';
            std::copy(text.begin() + 1, text.end(), std::begin(context_.errstr));
        }
        return false;
    }

    redisContext& context_;
    const Clock::time_point deadline_;
    bool timedOut_ = false;
};

// "HGET some-key: " and what is wrong.
void complainOfReply(Command command, std::string_view what) {
    std::string line(command.front());
    // EVAL has its script and the number of keys in front of the key.
    const std::size_t keyPosition = line == "EVAL" ? 3 : 1;
    if (keyPosition < command.size() && !command[keyPosition].empty()) {
        line.append(" ").append(command[keyPosition]);
    }
    complainNowAndThen(line.append(": ").append(what));
}

bool isError(const Reply& reply) {
    return reply.type() == REDIS_REPLY_ERROR;
}

// Says what is wrong with a reply that is an error or of a type that the command never gives.
// After the latter the connection is out of step.
void complainOfUnwanted(redisContext& context, Command command, const Reply& reply) {
    if (isError(reply)) {
        complainOfReply(command, reply.text());
        return;
    }
    putInError(context, "a reply of an unexpected type");
    complainOfReply(command, context.errstr);
}

bool holdsTextsOnly(std::span<redisReply* const> elements) {
    return std::all_of(elements.begin(), elements.end(),
                       [](const redisReply* item) { return item->type == REDIS_REPLY_STRING; });
}

bool isOneOf(std::initializer_list<int> types, const Reply& reply) {
    return std::find(types.begin(), types.end(), reply.type()) != types.end() &&
           holdsTextsOnly(reply.elements());
}

} // namespace

bool exchange(redisContext& context, std::span<const Command> commands, std::span<Reply> replies,
              Repeat repeat) {
    if (!makeReady(context)) {
        return false;
    }
    const std::string request = wireForm(commands);
    Attempt first(context);
    bool done = first.run(request, replies);
    if (!done && repeat == Repeat::harmless && first.isBroken()) {
        done = reconnect(context) && Attempt(context).run(request, replies);
    }
    if (!done) {
        complainOfLoss(context);
        return false;
    }
    outageIsOver();
    return true;
}

Reply ask(redisContext& context, Command command, std::initializer_list<int> types, Repeat repeat) {
    Reply reply;
    const bool wanted = exchange(context, {&command, 1}, {&reply, 1}, repeat) &&
                        isWanted(context, command, reply, types);
    return wanted ? std::move(reply) : Reply();
}

Reply askAllowingWrongKind(redisContext& context, Command command, std::initializer_list<int> types,
                           Repeat repeat) {
    Reply reply;
    const bool wanted = exchange(context, {&command, 1}, {&reply, 1}, repeat) &&
                        (isWrongKind(reply) || isWanted(context, command, reply, types));
    return wanted ? std::move(reply) : Reply();
}

bool isWrongKind(const Reply& reply) {
    return isError(reply) && reply.text().starts_with("WRONGTYPE");
}

bool isWanted(redisContext& context, Command command, const Reply& reply,
              std::initializer_list<int> types) {
    if (isOneOf(types, reply)) {
        return true;
    }
    complainOfUnwanted(context, command, reply);
    return false;
}

bool runTransaction(redisContext& context, std::span<const Command> commands, Repeat repeat) {
    ShortCommand<1> multi{"MULTI"};
    ShortCommand<1> exec{"EXEC"};
    std::vector<Command> all;
    all.reserve(commands.size() + 2);
    all.push_back(multi);
    all.insert(all.end(), commands.begin(), commands.end());
    all.push_back(exec);

    std::vector<Reply> replies(all.size());
    if (!exchange(context, all, replies, repeat)) {
        return false;
    }
    // MULTI says OK and each command QUEUED; one that is refused here spoils the whole.
    for (std::size_t i = 0; i + 1 < all.size(); ++i) {
        if (!isWanted(context, all[i], replies[i], {REDIS_REPLY_STATUS})) {
            return false;
        }
    }
    const Reply& results = replies.back();
    if (results.type() != REDIS_REPLY_ARRAY || results.elements().size() != commands.size()) {
        complainOfUnwanted(context, all.back(), results);
        return false;
    }
    for (std::size_t i = 0; i < commands.size(); ++i) {
        const redisReply& result = *results.elements()[i];
        if (result.type == REDIS_REPLY_ERROR) {
            complainOfReply(commands[i], textOf(result));
            return false;
        }
    }
    return true;
}

} // namespace ossel
