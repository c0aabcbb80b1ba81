// The registration of this provider in redis: its entry in the provider directory and its
// subscription, on a connection of the host's own. Signals and workers are for wait.cpp.
#pragma once

#include "platform/plugin_host.h"
#include "platform/plugin_host/connection.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace plugin_host {

class Event;

// The main thread registers; inside ovrThreadWaitForExit the hook's thread alone uses it.
class Subscription {
public:
    using Hook = void (*)(char* msgId, char* reqArg, char* replyChannel);

    Subscription() = default;
    ~Subscription(); // leaves, when still registered; what arrived is skipped
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

    void setCallbackId(std::string callbackId) { callbackId_ = std::move(callbackId); }
    void setHook(Hook hook) { hook_ = hook; }

    // Enters the directory and subscribes to the channel of this name. A failure costs one
    // error line; serve then tries again.
    void registerAs(std::string name);
    bool isRegistered() const { return !name_.empty(); }

    // The life of the hook's thread: calls the hook for every request and renews what is
    // lost, until `stop` is raised. What was accepted until it has left goes to the hook.
    void serve(const Event& stop);

private:
    enum class Leftover { handOver, skip };

    bool enter();
    bool confirmed(Clock::time_point deadline);
    bool renew(const Event& stop);
    void receiveOrStop(const Event& stop, bool& stopping);
    void handOverReceived();
    void handOver(std::string_view payload);
    void leave(Leftover leftover);
    void unsubscribe(Clock::time_point deadline, Leftover leftover);
    void removeEntry(Clock::time_point deadline);

    Address address_;
    std::string name_; // also the channel; empty: not registered
    std::string callbackId_;
    Hook hook_ = nullptr;
    Connection connection_;
    RequestTriple request_; // the one in the hook's hands, kept for its memory
};

} // namespace plugin_host
