// Who sends a request: identified by the token of a session, or by name and password. Thread of
// the loop only; passwords are hashed on a worker.
//
// A correct password is remembered for a minute as a keyed digest, so that Basic authentication
// does not hash it at each request. After too many wrong ones in a row an account is locked for a
// while. Unknown names take as long as known ones, so that timing reveals none.
#pragma once

#include "redfish/crypto/digest.h"
#include "redfish/http/message.h"
#include "redfish/runtime/clock.h"
#include "redfish/runtime/post.h"
#include "redfish/runtime/worker_pool.h"
#include "redfish/security/accounts.h"
#include "redfish/security/random.h"
#include "redfish/security/sessions.h"

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace redfish {

// What became of an attempt to identify the sender.
enum class Identification : std::uint8_t {
    signedIn,
    missing, // neither token nor password was sent
    refused, // a wrong one, or the account is disabled or locked
    busy,    // too many passwords are being checked: retry later
};

// The outcome. Everything but the result is meaningful for `signedIn` alone.
struct Identity {
    Identification result = Identification::missing;
    std::string user;
    model::Role role = model::Role::readOnly;
    // Empty: identified by name and password.
    std::string sessionId;
};

// Takes the outcome, once, on the loop's thread.
using Identified = std::function<void(const Identity&)>;

// When an account is locked, and for how long.
struct LockoutRules {
    // Wrong passwords in a row; 0: accounts are never locked.
    unsigned int threshold = 5;
    std::chrono::seconds duration{30};
};

class Authenticator {
public:
    // Borrows all but `post` and `rules`; what is borrowed must outlive this object.
    //   checks  where passwords are hashed
    //   post    back to the loop
    Authenticator(Accounts& accounts, Sessions& sessions, WorkerPool& checks, Post post,
                  LockoutRules rules = {});

    // Identifies the sender by X-Auth-Token or, without one, by Basic credentials. Calls `done` at
    // once unless a password must be hashed. A token counts as a use of its session.
    void identify(const Request& request, Identified done);

    // Checks a name and a password. Calls `done` at once if the answer is known. Callers that ask
    // the same while a check runs share it.
    void checkPassword(const std::string& name, const std::string& password, Identified done);

    // To be called after each change of an account: forgets what was known of its password,
    // disregards checks under way and unlocks the account.
    void forget(const std::string& name);

    // Whether an account is locked at the moment.
    bool isLocked(const std::string& name) const;

    // The rules as given to the constructor.
    const LockoutRules& rules() const { return rules_; }

private:
    // Wrong passwords of a name, since the last right one.
    struct Failures {
        unsigned int count = 0;
        Clock::time_point last;
    };
    // A password that was right.
    struct Known {
        std::string name;
        Clock::time_point until;
    };

    // `refused` for an unknown token and for an account that may not sign in.
    Identity ofToken(std::string_view token);
    Identity ofAccount(const std::string& name) const;
    // Takes the outcome of a check and tells all who wait for it.
    //   change  value of changes_ when the check began
    void finish(const Digest& key, const std::string& name, unsigned long long change,
                bool isRight);
    // Counts a wrong password, and logs when that locks the account.
    void fail(const std::string& name);
    // Keeps both tables bounded: they grow with what strangers send.
    void dropOld();

    Accounts& accounts_;
    Sessions& sessions_;
    WorkerPool& checks_;
    Post post_;
    LockoutRules rules_;
    // Passwords are kept only as digests under this key, which ends with the process.
    Digest key_ = randomKey();
    // Right passwords of the last minute.
    std::map<Digest, Known> known_;
    // Checks under way, and who waits for each.
    std::map<Digest, std::vector<Identified>> pending_;
    // By name, existing or not.
    std::unordered_map<std::string, Failures> failures_;
    // Counts changes of accounts: a check that began before the last one is disregarded.
    unsigned long long changes_ = 0;
};

} // namespace redfish
