// Who sends a request: by the token of a session, or by name and password. Passwords are
// checked on a thread of their own; after too many wrong ones in a row an account takes none
// for a while. Thread of the connections only.
#pragma once

#include "redfish/http/message.h"
#include "redfish/runtime/clock.h"
#include "redfish/runtime/post.h"
#include "redfish/runtime/worker_pool.h"
#include "redfish/security/accounts.h"
#include "redfish/security/random.h"
#include "redfish/security/sessions.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace redfish {

enum class Identification : std::uint8_t {
    signedIn,
    missing, // neither token nor password was sent
    refused, // the wrong one, or an account that is disabled or locked
    busy,    // too many passwords are being checked: later again
};

struct Identity {
    Identification result = Identification::missing;
    std::string user;
    model::Role role = model::Role::readOnly;
    std::string sessionId; // empty: by name and password
};

using Identified = std::function<void(const Identity&)>;

struct LockoutRules {
    unsigned int threshold = 5; // wrong passwords in a row
    std::chrono::seconds duration{30};
};

// What was borrowed lives longer.
class Authenticator {
public:
    Authenticator(Accounts& accounts, Sessions& sessions, WorkerPool& checks, Post post,
                  LockoutRules rules = {});

    // Calls back at once where no password has to be checked.
    void identify(const Request& request, Identified done);
    void checkPassword(const std::string& name, const std::string& password, Identified done);

    // After a change of the account: nothing that was known of its password holds any longer,
    // and it is not locked.
    void forget(const std::string& name);
    bool isLocked(const std::string& name) const;
    const LockoutRules& rules() const { return rules_; }

private:
    struct Failures {
        unsigned int count = 0;
        Clock::time_point last;
    };
    struct Known {
        std::string name;
        Clock::time_point until;
    };

    Identity ofToken(std::string_view token);
    Identity ofAccount(const std::string& name) const;
    void finish(const Digest& key, const std::string& name, unsigned long long change,
                bool isRight);
    void fail(const std::string& name);
    void dropOld();

    Accounts& accounts_;
    Sessions& sessions_;
    WorkerPool& checks_;
    Post post_;
    LockoutRules rules_;
    // A password is remembered for a moment by a digest under this key, and nowhere else.
    Digest key_ = randomKey();
    std::map<Digest, Known> known_;
    std::map<Digest, std::vector<Identified>> pending_; // being checked: who waits for it
    std::unordered_map<std::string, Failures> failures_;
    unsigned long long changes_ =
        0; // of accounts: a check that began before one counts for nothing
};

} // namespace redfish
