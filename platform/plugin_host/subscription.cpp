#include "platform/plugin_host/subscription.h"

#include "platform/plugin_host/error_line.h"
#include "platform/plugin_host/event.h"
#include "platform/plugin_host/payload.h"
#include "redis/uuid.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <exception>

namespace plugin_host {

using redis::ShortCommand;

namespace {

constexpr const char* kDirectory = "OvrCallbacks";
constexpr const char* kOwners = "OvrCallbackOwners";
constexpr std::chrono::milliseconds kFirstPause{50};
// Short enough to serve requests soon after a server is back; a try costs next to nothing.
constexpr std::chrono::milliseconds kMaxPause{250};

// The entry stays where another provider has taken over: under a name of its own, or a new run of
// this one that registered before the old one ended.
// An entry whose owner is unknown is ours: this run made it.
constexpr const char* kRemoveOwnEntry = "local owner = redis.call('HGET', KEYS[2], ARGV[1]) "
                                        "if not owner or owner == ARGV[3] then "
                                        "redis.call('HDEL', KEYS[2], ARGV[1]) "
                                        "if redis.call('HGET', KEYS[1], ARGV[1]) == ARGV[2] then "
                                        "return redis.call('HDEL', KEYS[1], ARGV[1]) end end "
                                        "return 0";

// "message", "subscribe" or "unsubscribe"; empty: it belongs to no subscription.
std::string_view kindOf(const redis::Reply& reply) {
    const bool isPush = reply.kind == redis::Reply::Kind::list && reply.elements.size() == 3;
    return isPush ? std::string_view(reply.elements[0].text) : std::string_view();
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
    name_ = std::move(name);
    token_ = redis::makeUuid();
    try {
        address_ = redis::parseAddress(redis::configuredAddress());
    } catch (const redis::InvalidAddress&) {
        address_.reset();
    }
    if (callbackId_.empty()) {
        writeErrorLine("The callback id is empty: ", name_, " gets no entry in ", kDirectory);
    }
    if (!enter()) {
        writeErrorLine("Failed to subscribe to ", name_, ": ", connection_.reason());
    }
}

bool Subscription::open(redis::Deadline deadline) {
    return address_ ? connection_.open(*address_, deadline)
                    : connection_.fail(redis::Failure::unreachable,
                                       "OSSEL_REDIS is neither unix:PATH nor tcp:HOST:PORT");
}

// The owner before the entry: an old run that leaves in between must not remove it.
bool Subscription::enter() {
    const redis::Deadline deadline = redis::Clock::now() + redis::kTimeout;
    return open(deadline) && ask(ShortCommand{"CLIENT", "SETNAME", name_}, deadline) &&
           (callbackId_.empty() ||
            (noteOwner(deadline) &&
             ask(ShortCommand{"HSET", kDirectory, callbackId_, name_}, deadline))) &&
           ask(ShortCommand{"SUBSCRIBE", name_}, deadline);
}

// A store that refuses this has rights of an older version. Requests are served all the same.
bool Subscription::noteOwner(redis::Deadline deadline) {
    redis::Reply reply;
    connection_.append(ShortCommand{"HSET", kOwners, callbackId_, token_});
    if (!connection_.send(deadline) || !connection_.await(reply, deadline)) {
        return false;
    }
    if (reply.isError()) {
        writeErrorLine("Failed to note the owner in ", kOwners, ": ", reply.text);
    }
    return true;
}

// False: no reply, or an error; the connection is closed then.
bool Subscription::ask(redis::Command command, redis::Deadline deadline) {
    redis::Reply reply;
    connection_.append(command);
    return connection_.send(deadline) && connection_.await(reply, deadline) &&
           (!reply.isError() || connection_.fail(redis::Failure::refused, reply.text));
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
        pause = std::min(pause * 2, kMaxPause);
    }
    return true;
}

void Subscription::handOverReceived() {
    while (connection_.isOpen() && connection_.next(reply_)) {
        if (kindOf(reply_) == "message") {
            handOver(reply_.elements[2].text);
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
    const redis::Deadline deadline = redis::Clock::now() + redis::kTimeout;
    if (connection_.isOpen()) {
        unsubscribe(deadline, leftover);
    }
    if (!callbackId_.empty()) {
        removeEntry(redis::Clock::now() + redis::kTimeout);
    }
    connection_.close();
    name_.clear();
}

// Messages that come before the confirmation were reported to their publishers as accepted.
void Subscription::unsubscribe(redis::Deadline deadline, Leftover leftover) {
    std::size_t skipped = 0;
    bool isConfirmed = false;
    connection_.append(ShortCommand{"UNSUBSCRIBE", name_});
    connection_.send(deadline);
    while (!isConfirmed && connection_.await(reply_, deadline)) {
        const std::string_view kind = kindOf(reply_);
        isConfirmed = kind == "unsubscribe";
        if (kind == "message" && leftover == Leftover::skip) {
            ++skipped;
        } else if (kind == "message") {
            handOver(reply_.elements[2].text);
        }
    }
    if (!isConfirmed) {
        writeErrorLine("Failed to unsubscribe from ", name_, ": ", connection_.reason());
    }
    if (skipped > 0) {
        writeErrorLine("Requests that nobody waited for are skipped: ", std::to_string(skipped));
    }
}

// On a new connection where the subscription is lost.
void Subscription::removeEntry(redis::Deadline deadline) {
    const ShortCommand command{"EVAL",  kRemoveOwnEntry, "2",   kDirectory,
                               kOwners, callbackId_,     name_, token_};
    if ((!connection_.isOpen() && !open(deadline)) || !ask(command, deadline)) {
        writeErrorLine("Failed to leave ", kDirectory, ": ", connection_.reason());
    }
}

} // namespace plugin_host
