// Listens on all reply channels and counts the answers on each.
#pragma once

#include "client/address.h"
#include "client/stop.h"

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace storms {

class Observer {
public:
    // Subscribed when the constructor returns, if the store serves it. Reconnects forever.
    explicit Observer(client::Address address);
    ~Observer();
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;

    // The answers that arrived, by reply channel; those published while it was disconnected are
    // missing.
    std::map<std::string, int> answers() const;

private:
    void work();
    void listen();

    client::Address address_;
    client::Stop stop_;
    std::atomic<bool> isListening_ = false;
    mutable std::mutex mutex_; // guards answers_
    std::map<std::string, int> answers_;
    std::thread thread_;
};

} // namespace storms
