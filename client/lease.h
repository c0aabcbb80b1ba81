// A lease in the store: its holder may read, change and write what it stands for. It ends by
// itself when its holder dies.
#pragma once

#include "client/connection.h"

namespace client {

// Not for two threads at once. `store` is borrowed for its life.
class Lease {
public:
    // Takes the lease for `life`; waits for it until the deadline while another client has
    // it. `reads` are sent along: they are executed under the lease and cost no round trip.
    // Throws LeaseHeld, Stopped (`stop` may be null), StoreRefused, StoreUnreachable.
    Lease(StoreConnection& store, std::string key, std::chrono::milliseconds life,
          Deadline deadline, const Stop* stop, std::vector<Words> reads = {});
    ~Lease(); // gives it up, unless it has gone to another client meanwhile
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    // The replies to `reads`, error replies among them.
    std::span<const Reply> replies() const { return replies_; }

    const std::string& key() const { return key_; }
    const std::string& token() const { return token_; } // value of the key while it is held
    std::chrono::milliseconds life() const { return life_; }

    // The command that gives it up, for a caller that sends it along with others and calls
    // `dismiss` once it was executed: then the destructor has nothing to do.
    Words release() const;
    void dismiss() { token_.clear(); }

    // Throws LeaseHeld with the reason that another client has it now.
    [[noreturn]] void throwLost() { throwHeld("was lost to another client"); }

private:
    [[noreturn]] void throwHeld(const std::string& reason);

    StoreConnection& store_;
    std::string key_;
    std::string token_; // empty: given up
    std::chrono::milliseconds life_;
    std::vector<Reply> replies_;
};

} // namespace client
