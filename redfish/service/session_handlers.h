// The handlers of sessions: signing in, looking at who is signed in, signing out. Thread of the
// loop only.
#pragma once

#include "redfish/security/accounts.h"
#include "redfish/security/authenticator.h"
#include "redfish/security/sessions.h"
#include "redfish/service/call.h"
#include "redfish/service/facts.h"

#include <optional>
#include <string_view>

namespace redfish {

// A user sees and ends his own sessions; who may configure the manager sees and ends all.
class SessionHandlers {
public:
    // Borrows its arguments, which must outlive it.
    SessionHandlers(Sessions& sessions, const Accounts& accounts, Authenticator& authenticator,
                    const Facts& facts);
    SessionHandlers(const SessionHandlers&) = delete;
    SessionHandlers& operator=(const SessionHandlers&) = delete;

    // The collection, its members, and PATCH of the session service. The routes borrow this
    // object.
    Routes routes();

    // The collection or a member as `identity` may see it; nothing for a session that does not
    // exist or is hidden, and for an address of other handlers.
    std::optional<model::Json> document(const Identity& identity, std::string_view address) const;

private:
    // 200 with the session service after the change, 400.
    void patchService(const Call& call, const Respond& respond);
    // 200, or 404 for a session that is hidden or does not exist.
    void get(const Call& call, const Respond& respond) const;
    // 201 with Location and X-Auth-Token; 400, 401, or 503 if there are too many.
    void post(const Call& call, const Respond& respond);
    // 204, or 404 as above.
    void remove(const Call& call, const Respond& respond);

    model::Json collection(const Identity& identity) const;
    std::optional<model::Json> member(const Identity& identity, std::string_view id) const;
    // The response to post() once the password has been checked.
    Response signIn(const Call& call, const Identity& identity);

    Sessions& sessions_;
    const Accounts& accounts_;
    Authenticator& authenticator_;
    const Facts& facts_;
};

} // namespace redfish
