// A lease in the store: who holds it may read, change and write what it stands for. It
// ends by itself when its holder dies.
#pragma once

#include "client/connection.h"

namespace client {

// Not for two threads at once. `store` is borrowed for its life.
class Lease {
public:
    // Takes the lease for `life`; waits for it until the deadline while another client has
    // it. Throws LeaseHeld, Stopped (`stop` may be null), and as StoreConnection.
    Lease(StoreConnection& store, std::string key, std::chrono::milliseconds life,
          Deadline deadline, const Stop* stop);
    ~Lease(); // gives it up, unless it has gone to another client meanwhile
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    // Holds it for `life` from now on. Throws LeaseHeld when it was lost meanwhile.
    void prolong();

private:
    [[noreturn]] void throwHeld(const std::string& reason);

    StoreConnection& store_;
    std::string key_;
    std::string token_;
    std::chrono::milliseconds life_;
};

} // namespace client
