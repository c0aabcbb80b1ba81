// A connection to redis with a bound on every wait: connecting, sending and answering take
// 2 s at most. What is sent and when a lost one is opened again is for subscription.cpp.
#pragma once

#include "platform/plugin_host/address.h"

#include <chrono>
#include <hiredis/hiredis.h>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace plugin_host {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kCommandBound{2};

struct FreeReply {
    void operator()(redisReply* reply) const { freeReplyObject(reply); }
};
using ReplyPtr = std::unique_ptr<redisReply, FreeReply>;

// One thread at a time. Every failure closes the connection and leaves its reason.
class Connection {
public:
    bool open(const Address& address);
    void close() { context_.reset(); }
    bool isOpen() const { return context_ != nullptr; }
    int descriptor() const { return context_->fd; }
    const std::string& reason() const { return reason_; }

    // Sends one command whole. False: closed.
    bool send(std::initializer_list<std::string_view> words);

    // The payload of a published message, if one comes next among what was received and lies
    // there whole. Borrowed until the next call. The everyday case, without a reply to build.
    std::optional<std::string_view> nextPayload();

    // The next reply among what was received; null when none is complete, or closed.
    ReplyPtr next();

    // Receives what the socket holds; to be called when it is readable. False: closed.
    bool receive();

    // The next reply, waited for; null: closed. The deadline counts while nothing arrives.
    ReplyPtr await(Clock::time_point deadline);

    // Closes it with this reason; false.
    bool fail(std::string reason);

private:
    struct Free {
        void operator()(redisContext* context) const { redisFree(context); }
    };

    bool authenticate();
    void feedReader();
    bool failAsHiredisSays();

    std::unique_ptr<redisContext, Free> context_;
    std::unique_ptr<char[]> buffer_; // NOLINT(*-avoid-c-arrays): allocated without being touched
    std::string_view received_;      // of the buffer: what is neither handed out nor fed
    bool isReaderBusy_ = false;      // hiredis's reader was fed and has not handed out everything
    std::string reason_;
};

} // namespace plugin_host
