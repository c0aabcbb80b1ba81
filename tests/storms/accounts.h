// Reconciles what the requesters were told with what the daemon and the reply channels saw: each
// request is answered once, or its requester is told, and nothing is answered twice.
#pragma once

#include "tests/storms/asker.h"
#include "tests/storms/journal.h"

#include <map>
#include <string>
#include <vector>

namespace storms {

// What a fault may cost. Everything else is a violation.
struct Allowance {
    // Requests that the store accepted and lost; their requesters were cut off.
    int lost = 0;
    // Requests that the store sent on a connection of the daemon's that was closed before they
    // arrived, while the requesters' own connections worked.
    int dropped = 0;
    // Requests that reached the daemon but whose answers it could not store, although the
    // requesters were not cut off: the daemon logs them, the requesters wait in vain.
    int givenUp = 0;
    // Whether stored data may be gone.
    bool storeDied = false;
};

struct Accounts {
    long long requests = 0;
    long long answered = 0;
    long long nobody = 0;
    long long cutOff = 0;
    long long refused = 0;
    long long lost = 0;    // among cutOff: accepted, and never reached the daemon
    long long dropped = 0; // accepted, never reached the daemon, and were waited for in vain
    long long givenUp = 0; // reached the daemon, and were waited for in vain
    std::vector<std::string> violations;

    Accounts& operator+=(const Accounts& other);
};

// Requests that reached the daemon and are not answered: in progress, or failed.
long long countOpen(const Sightings& sightings);

// The accounts of requests that have all ended.
//   heard   answers by reply channel, as the observer counted them
Accounts settle(const std::vector<Told>& told, const Sightings& sightings,
                const std::map<std::string, int>& heard, const Allowance& allowance);

} // namespace storms
