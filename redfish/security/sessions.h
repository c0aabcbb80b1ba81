// The sessions: who has signed in, and the token that proves it. In memory only, so they end with
// the process. Thread of the loop only.
//
// A call that takes the present time never returns a session that has been idle for too long.
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
    // Names the session in public; proves nothing.
    std::string id;
    std::string user;
    // Address of the client that created it.
    std::string origin;
    // 2026-01-31T12:00:00Z
    std::string created;
    // By use() or make().
    Clock::time_point lastUse;
};

struct SessionLimits {
    // Without a request.
    std::chrono::seconds idle{1800};
    // Sessions of all users.
    std::size_t most = 64;
    std::size_t mostPerUser = 16;
};

class Sessions {
public:
    // Without any session.
    explicit Sessions(SessionLimits limits) : limits_(limits) {}

    struct Made {
        std::string id;
        // 256 random bits; only its digest is kept.
        std::string token;
    };
    // Creates a session. Nothing if there are too many, in all or of this user.
    std::optional<Made> make(std::string user, std::string origin, std::string created,
                             Clock::time_point now);

    // The session of a token, which counts as used now; null if there is none. Looked up by
    // digest, so that timing reveals nothing about tokens. Valid until the next call.
    const Session* use(std::string_view token, Clock::time_point now);

    // The session of an id; null if there is none. Valid until the next call.
    const Session* find(std::string_view id, Clock::time_point now);

    // All sessions, ordered by id. Valid until the next call.
    std::vector<const Session*> all(Clock::time_point now);

    // Ends the session of an id; false if there is none.
    bool end(std::string_view id);

    // Ends all sessions of a user but the one with the id `butId`; empty: all of them.
    void endAllOf(std::string_view user, std::string_view butId);

    // How long a session may be idle. A new limit holds for existing sessions too.
    std::chrono::seconds idleLimit() const { return limits_.idle; }
    void setIdleLimit(std::chrono::seconds limit) { limits_.idle = limit; }

private:
    // Ends every session that has been idle for too long.
    void dropIdle(Clock::time_point now);

    SessionLimits limits_;
    // By the digest of the token.
    std::map<Digest, Session> sessions_;
    // Keeps ids apart.
    unsigned long long made_ = 0;
};

} // namespace redfish
