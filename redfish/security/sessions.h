// The sessions of the service: who has signed in, and the token that proves it. They live in
// memory only and end with the program. Thread of the connections only.
#pragma once

#include "redfish/crypto/digest.h"
#include "redfish/runtime/clock.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace redfish {

struct Session {
    std::string id; // names it in public; it proves nothing
    std::string user;
    std::string origin;  // address that it was made from
    std::string created; // 2026-01-31T12:00:00Z
    Clock::time_point lastUse;
};

struct SessionLimits {
    std::chrono::seconds idle{1800};
    std::size_t most = 64;
    std::size_t mostPerUser = 16;
};

class Sessions {
public:
    explicit Sessions(SessionLimits limits) : limits_(limits) {}

    struct Made {
        std::string id;
        std::string token; // 256 random bits; kept nowhere here but as a digest
    };
    // Nothing when there are too many already. Those that have been idle too long end first.
    std::optional<Made> make(std::string user, std::string origin, std::string created,
                             Clock::time_point now);

    // The session of a token, used now; null when there is none or it has been idle too long.
    // Looked up by the digest, so that its time tells nothing of the tokens.
    const Session* use(std::string_view token, Clock::time_point now);

    const Session* find(std::string_view id, Clock::time_point now);
    std::vector<const Session*> all(Clock::time_point now); // in the order of their ids

    bool end(std::string_view id);
    // All of a user but the one of this id; empty: all.
    void endAllOf(std::string_view user, std::string_view butId);

    std::chrono::seconds idleLimit() const { return limits_.idle; }
    void setIdleLimit(std::chrono::seconds limit) { limits_.idle = limit; }

private:
    void dropIdle(Clock::time_point now);

    SessionLimits limits_;
    std::map<Digest, Session> sessions_; // by the digest of the token
    unsigned long long made_ = 0;
};

} // namespace redfish
