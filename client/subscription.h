// Messages on channels, on a connection of their own, which redis does not let mix with commands.
#pragma once

#include "client/wire.h"

namespace client {

// One thread at a time.
class Subscription {
public:
    explicit Subscription(Address address);

    // Requests the subscription without waiting for its confirmation, so that the store works on it
    // while the caller goes on to `subscribe`. Does nothing without an open connection.
    void announce(const std::string& channel) noexcept;

    // Returns when the store has confirmed it: nothing published from then on is missed. Connects
    // on demand. Throws StoreUnreachable, StoreRefused.
    void subscribe(const std::string& channel);

    // Does not wait; messages of the channel that still arrive are dropped.
    void unsubscribe(const std::string& channel) noexcept;

    // The next message on the channel; those of other channels are dropped. Nothing when none has
    // come by the deadline. Throws Stopped (`stop` may be null), StoreUnreachable.
    std::optional<std::string> next(const std::string& channel, Deadline deadline,
                                    const Stop* stop);

private:
    void confirm(const std::string& channel, bool isAnnounced);

    Address address_;
    std::unique_ptr<Wire> wire_;
    std::string announced_; // channel asked for and not yet confirmed; empty: none
};

} // namespace client
