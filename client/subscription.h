// A connection of its own that waits for messages on channels.
#pragma once

#include "client/wire.h"

namespace client {

// Not for two threads at once.
class Subscription {
public:
    explicit Subscription(Address address);

    // Asks for the subscription and leaves the confirmation to `subscribe`, so that the store works
    // on it meanwhile. Does nothing without a connection, or if that is lost.
    void announce(const std::string& channel) noexcept;

    // Returns when the store has confirmed it: what is published from then on is not
    // missed. Connects when needed. Throws StoreUnreachable, StoreRefused.
    void subscribe(const std::string& channel);

    // Messages of the channel that are still on their way are dropped later.
    void unsubscribe(const std::string& channel) noexcept;

    // The next message on the channel; those of other channels are dropped. Nothing when
    // none has come by the deadline. Throws Stopped, StoreUnreachable.
    std::optional<std::string> next(const std::string& channel, Deadline deadline,
                                    const Stop* stop);

private:
    void confirm(const std::string& channel, bool isAnnounced);

    Address address_;
    std::unique_ptr<Wire> wire_;
    std::string announced_; // channel asked for and not yet confirmed; empty: none
};

} // namespace client
