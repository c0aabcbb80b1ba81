// Registers with redis, hands requests to the hook, renews what is lost and leaves in good
// order. Reading a payload is left to payload.cpp, the bounds of a connection to connection.cpp.
#include "platform/plugin_host/subscription.h"

#include "platform/plugin_host/error_line.h"
#include "platform/plugin_host/event.h"
#include "platform/plugin_host/payload.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <exception>

namespace plugin_host {

namespace {

constexpr const char* kDefaultAddress = "unix:/run/redis/redis-server.sock";
constexpr const char* kDirectory = "OvrCallbacks";
constexpr std::chrono::milliseconds kFirstPause{50};
// Short enough for requests to be served soon after a server is back; a try costs next to nothing.
constexpr std::chrono::milliseconds kLongestPause{250};

// The entry stays where another provider has taken over: with a name of its own, or already
// subscribed under this one (a new run of the daemon that started before the old one ended).
constexpr const char* kRemoveOwnEntry = "if redis.call('HGET', KEYS[1], ARGV[1]) == ARGV[2] "
                                        "and redis.call('PUBSUB', 'NUMSUB', ARGV[2])[2] == 0 then "
                                        "return redis.call('HDEL', KEYS[1], ARGV[1]) end return 0";

std::string_view textOf(const redisReply& reply) {
    return reply.type == REDIS_REPLY_STRING ? std::string_view(reply.str, reply.len)
                                            : std::string_view();
}

// "message", "subscribe" or "unsubscribe"; empty: it is nothing of a subscription.
std::string_view kindOf(const redisReply& reply) {
    const bool isPush = reply.type == REDIS_REPLY_ARRAY && reply.elements == 3;
    return isPush ? textOf(*reply.element[0]) : std::string_view();
}

} // namespace

Subscription::~Subscription() {
    try {
        leave(Leftover::skip);
    } catch (const std::exception& failure) {
        writeErrorLine("Failed to leave: ", failure.what());
    }
}

void Subscription::registerAs(std::string name) {
    leave(Leftover::skip);
    const char* const address = std::getenv("OSSEL_REDIS");
    address_ = parseAddress(address != nullptr ? address : kDefaultAddress);
    name_ = std::move(name);
    if (callbackId_.empty()) {
        writeErrorLine("The callback id is empty: ", name_, " gets no entry in ", kDirectory);
    }
    if (!enter()) {
        writeErrorLine("Failed to subscribe to ", name_, ": ", connection_.reason());
    }
}

bool Subscription::enter() {
    const Clock::time_point deadline = Clock::now() + kCommandBound;
    return connection_.open(address_) && connection_.send({"CLIENT", "SETNAME", name_}) &&
           confirmed(deadline) &&
           (callbackId_.empty() ||
            (connection_.send({"HSET", kDirectory, callbackId_, name_}) && confirmed(deadline))) &&
           connection_.send({"SUBSCRIBE", name_}) && confirmed(deadline);
}

bool Subscription::confirmed(Clock::time_point deadline) {
    const ReplyPtr reply = connection_.await(deadline);
    return reply &&
           (reply->type != REDIS_REPLY_ERROR || connection_.fail({reply->str, reply->len}));
}

void Subscription::serve(const Event& stop) {
    bool stopping = false;
    while (!stopping) {
        if (connection_.isOpen()) {
            receiveOrStop(stop, stopping);
        } else {
            stopping = renew(stop);
        }
    }
    leave(Leftover::handOver);
}

void Subscription::receiveOrStop(const Event& stop, bool& stopping) {
    handOverReceived();
    if (connection_.isOpen()) {
        std::array<pollfd, 2> waited{
            {{connection_.descriptor(), POLLIN, 0}, {stop.descriptor(), POLLIN, 0}}};
        pollAll(waited.data(), waited.size(), std::chrono::milliseconds(-1));
        stopping = waited[1].revents != 0;
        if (!stopping) {
            connection_.receive();
        }
    }
    if (!connection_.isOpen()) {
        writeErrorLine("The subscription to ", name_, " is lost: ", connection_.reason());
    }
}

// True: stop.
bool Subscription::renew(const Event& stop) {
    std::chrono::milliseconds pause = kFirstPause;
    while (!stop.waitFor(pause)) {
        if (enter()) {
            writeErrorLine("The subscription to ", name_, " is back");
            return false;
        }
        pause = std::min(pause * 2, kLongestPause);
    }
    return true;
}

void Subscription::handOverReceived() {
    while (connection_.isOpen()) {
        if (const auto payload = connection_.nextPayload()) {
            handOver(*payload);
            continue;
        }
        const ReplyPtr reply = connection_.next();
        if (!reply) {
            return;
        }
        if (kindOf(*reply) == "message") {
            handOver(textOf(*reply->element[2]));
        }
    }
}

void Subscription::handOver(std::string_view payload) {
    const char* reason = parseRequest(payload, request_);
    if (reason == nullptr && hook_ == nullptr) {
        reason = "no hook";
    }
    if (reason != nullptr) {
        writeErrorLine("A request is dropped, ", reason, ": ", shownPayload(payload));
        return;
    }
    auto& [msgId, reqArg, replyChannel] = request_;
    hook_(msgId.data(), reqArg.data(), replyChannel.data());
}

void Subscription::leave(Leftover leftover) {
    if (!isRegistered()) {
        return;
    }
    const Clock::time_point deadline = Clock::now() + kCommandBound;
    if (connection_.isOpen()) {
        unsubscribe(deadline, leftover);
    }
    if (!callbackId_.empty()) {
        removeEntry(deadline);
    }
    connection_.close();
    name_.clear();
}

// What comes before the confirmation was reported to its publishers as accepted.
void Subscription::unsubscribe(Clock::time_point deadline, Leftover leftover) {
    std::size_t skipped = 0;
    bool isConfirmed = false;
    connection_.send({"UNSUBSCRIBE", name_});
    while (connection_.isOpen() && !isConfirmed) {
        const ReplyPtr reply = connection_.await(deadline);
        const std::string_view kind = reply ? kindOf(*reply) : std::string_view();
        isConfirmed = kind == "unsubscribe";
        if (kind == "message" && leftover == Leftover::skip) {
            ++skipped;
        } else if (kind == "message") {
            handOver(textOf(*reply->element[2]));
        }
    }
    if (!isConfirmed) {
        writeErrorLine("Failed to unsubscribe from ", name_, ": ", connection_.reason());
    }
    if (skipped > 0) {
        writeErrorLine("Requests that nobody waited for are skipped: ", std::to_string(skipped));
    }
}

// Where the subscription is lost, one try on a new connection.
void Subscription::removeEntry(Clock::time_point deadline) {
    const bool isRemoved =
        (connection_.isOpen() || connection_.open(address_)) &&
        connection_.send({"EVAL", kRemoveOwnEntry, "1", kDirectory, callbackId_, name_}) &&
        confirmed(deadline);
    if (!isRemoved) {
        writeErrorLine("Failed to leave ", kDirectory, ": ", connection_.reason());
    }
}

} // namespace plugin_host
