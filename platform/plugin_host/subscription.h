// The registration of this provider in redis: its entry in the provider directory and its
// subscription, on a connection of the host's own.
#pragma once

#include "platform/plugin_host.h"
#include "redis/connection.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace plugin_host {

class Event;

// The main thread registers; inside ovrThreadWaitForExit only the hook's thread uses it. Failures
// cost an error line each and are retried by serve.
class Subscription {
public:
    using Hook = void (*)(char* msgId, char* reqArg, char* replyChannel);

    Subscription() = default;
    ~Subscription(); // leaves, when still registered; requests that arrived are skipped
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

    void setCallbackId(std::string callbackId) { callbackId_ = std::move(callbackId); }
    void setHook(Hook hook) { hook_ = hook; }

    // Enters the directory and subscribes to the channel of this name, on the server of
    // OSSEL_REDIS.
    void registerAs(std::string name);
    bool isRegistered() const { return !name_.empty(); }

    // The life of the hook's thread: calls the hook for every request and renews a lost
    // subscription, until `stop` is raised; then leaves. What was accepted by then goes to the
    // hook.
    void serve(const Event& stop);

private:
    enum class Leftover { handOver, skip };

    bool open(redis::Deadline deadline);
    bool enter();
    bool noteOwner(redis::Deadline deadline);
    bool ask(redis::Command command, redis::Deadline deadline);
    bool renew(const Event& stop);
    void receiveOrStop(const Event& stop, bool& stopping);
    void handOverReceived();
    void handOver(std::string_view payload);
    void leave(Leftover leftover);
    void unsubscribe(redis::Deadline deadline, Leftover leftover);
    void removeEntry(redis::Deadline deadline);

    std::optional<redis::Address> address_; // none: OSSEL_REDIS has no usable one
    std::string name_;                      // also the channel; empty: not registered
    std::string callbackId_;
    std::string token_; // of this registration, which no other one has
    Hook hook_ = nullptr;
    redis::Connection connection_;
    redis::Reply reply_;    // the one in hand, kept for its memory
    RequestTriple request_; // the one in the hook's hands, kept for its memory
};

} // namespace plugin_host
