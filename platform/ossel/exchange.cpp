// The round trip itself, its time limit, the second try and the reading of errors. Opening
// connections is left to connection.cpp.
#include "exchange.h"

#include "complaints.h"
#include "connection.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <vector>

namespace ossel {

namespace {

using Clock = std::chrono::steady_clock;

static_assert(kCommandTimeout == std::chrono::seconds(2));
constexpr const char* kTimedOut = "no answer within 2 s";
constexpr const char* kOutOfStep = "more was answered than asked";

// One attempt at a round trip. The first read is bounded by the socket's own time-out and
// costs no further system call; only a reply in pieces is waited for by the clock.
class Attempt {
public:
    explicit Attempt(redisContext& context)
        : context_(context), deadline_(Clock::now() + kCommandTimeout) {}

    bool run(std::span<const Command> commands, std::span<Reply> replies) {
        return send(commands) && receive(replies) && nothingIsLeft();
    }

    // The connection broke: a server that is merely silent is not asked twice.
    bool isBroken() const {
        return !timedOut_ && (context_.err == REDIS_ERR_EOF || context_.err == REDIS_ERR_IO);
    }

private:
    bool send(std::span<const Command> commands) {
        for (const Command& command : commands) {
            if (redisAppendCommandArgv(&context_, command.count, command.words, command.lengths) !=
                REDIS_OK) {
                return false;
            }
        }
        int done = 0;
        while (true) {
            errno = 0;
            if (redisBufferWrite(&context_, &done) != REDIS_OK) {
                return errno == EAGAIN ? timeOut() : explainClosing();
            }
            if (done != 0) {
                return true;
            }
            if (Clock::now() >= deadline_) {
                return timeOut();
            }
        }
    }

    bool receive(std::span<Reply> replies) {
        return std::all_of(replies.begin(), replies.end(),
                           [this](Reply& reply) { return receiveOne(reply); });
    }

    bool receiveOne(Reply& reply) {
        while (true) {
            void* next = nullptr;
            if (redisGetReplyFromReader(&context_, &next) != REDIS_OK) {
                return false;
            }
            if (next != nullptr) {
                reply.reset(static_cast<redisReply*>(next));
                return true;
            }
            if (hasRead_ && !waitReadable()) {
                return timeOut();
            }
            hasRead_ = true;
            errno = 0;
            if (redisBufferRead(&context_) != REDIS_OK) {
                return errno == EAGAIN ? timeOut() : false;
            }
        }
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
    bool hasRead_ = false;
    bool timedOut_ = false;
};

// "HGET some-key: " and what is wrong.
void complainOfReply(const Command& command, std::string_view what) {
    std::string line(command.word(0));
    // EVAL has its script and the number of keys in front of the key.
    const std::string_view key = command.word(line == "EVAL" ? 3 : 1);
    if (!key.empty()) {
        line.append(" ").append(key);
    }
    complainNowAndThen(line.append(": ").append(what));
}

bool isError(const redisReply& reply) {
    return reply.type == REDIS_REPLY_ERROR;
}

// Says what is wrong with a reply that is an error or of a type that the command never gives.
// After the latter the connection is out of step.
void complainOfUnwanted(redisContext& context, const Command& command, const redisReply& reply) {
    if (isError(reply)) {
        complainOfReply(command, textOf(reply));
        return;
    }
    putInError(context, "a reply of an unexpected type");
    complainOfReply(command, context.errstr);
}

bool holdsTextsOnly(const redisReply& array) {
    return std::all_of(array.element, array.element + array.elements,
                       [](const redisReply* item) { return item->type == REDIS_REPLY_STRING; });
}

bool isOneOf(std::initializer_list<int> types, const redisReply& reply) {
    return std::find(types.begin(), types.end(), reply.type) != types.end() &&
           (reply.type != REDIS_REPLY_ARRAY || holdsTextsOnly(reply));
}

} // namespace

bool exchange(redisContext& context, std::span<const Command> commands, std::span<Reply> replies,
              Repeat repeat) {
    if (!makeReady(context)) {
        return false;
    }
    Attempt first(context);
    bool done = first.run(commands, replies);
    if (!done && repeat == Repeat::Harmless && first.isBroken()) {
        done = reconnect(context) && Attempt(context).run(commands, replies);
    }
    if (!done) {
        complainOfLoss(context);
        return false;
    }
    outageIsOver();
    return true;
}

Reply ask(redisContext& context, const Command& command, std::initializer_list<int> types,
          Repeat repeat) {
    Reply reply;
    const bool wanted = exchange(context, {&command, 1}, {&reply, 1}, repeat) &&
                        isWanted(context, command, *reply, types);
    return wanted ? std::move(reply) : nullptr;
}

Reply askAllowingWrongKind(redisContext& context, const Command& command,
                           std::initializer_list<int> types, Repeat repeat) {
    Reply reply;
    const bool wanted = exchange(context, {&command, 1}, {&reply, 1}, repeat) &&
                        (isWrongKind(*reply) || isWanted(context, command, *reply, types));
    return wanted ? std::move(reply) : nullptr;
}

bool isWrongKind(const redisReply& reply) {
    return isError(reply) && textOf(reply).starts_with("WRONGTYPE");
}

bool isWanted(redisContext& context, const Command& command, const redisReply& reply,
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
        if (!isWanted(context, all[i], *replies[i], {REDIS_REPLY_STATUS})) {
            return false;
        }
    }
    const redisReply& results = *replies.back();
    if (results.type != REDIS_REPLY_ARRAY || results.elements != commands.size()) {
        complainOfUnwanted(context, all.back(), results);
        return false;
    }
    for (std::size_t i = 0; i < commands.size(); ++i) {
        if (isError(*results.element[i])) {
            complainOfUnwanted(context, commands[i], *results.element[i]);
            return false;
        }
    }
    return true;
}

} // namespace ossel
