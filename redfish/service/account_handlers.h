// The handlers of accounts: listing, creating, changing and removing them. Thread of the loop only;
// passwords are hashed on a worker.
#pragma once

#include "redfish/model/accounts.h"
#include "redfish/runtime/post.h"
#include "redfish/runtime/worker_pool.h"
#include "redfish/security/accounts.h"
#include "redfish/security/authenticator.h"
#include "redfish/security/sessions.h"
#include "redfish/service/call.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace redfish {

// A user sees his own account and may change its password; everything else is for those who may
// configure users. The last enabled administrator can be neither removed nor demoted.
class AccountHandlers {
public:
    // Borrows its arguments, which must outlive it.
    //   hashing  where passwords are hashed
    //   post     back to the loop
    AccountHandlers(Accounts& accounts, Sessions& sessions, Authenticator& authenticator,
                    WorkerPool& hashing, Post post);
    AccountHandlers(const AccountHandlers&) = delete;
    AccountHandlers& operator=(const AccountHandlers&) = delete;

    // The collection and its members. The routes borrow this object.
    Routes routes();

    // The collection or a member as `identity` may see it; nothing for an account that does not
    // exist or is hidden, and for an address of other handlers.
    std::optional<model::Json> document(const Identity& identity, std::string_view address) const;

private:
    // 200, or 404 for an account that is hidden or does not exist.
    void get(const Call& call, const Respond& respond) const;
    // 201 with Location; 400, 409 if the name is taken or the collection full, 503 if too many
    // passwords are being hashed.
    void post(const Call& call, const Respond& respond);
    // 200 with the account after the change; 400, 403, 404, 409 for the last administrator, 412,
    // 503.
    void patch(const Call& call, const Respond& respond);
    // 200; 404, or 409 for the last administrator.
    void remove(const Call& call, const Respond& respond);

    model::Json collection(const Identity& identity) const;
    std::optional<model::Json> member(const Identity& identity, std::string_view name) const;
    // What post() does once the password has been hashed.
    Response create(const model::NewAccount& wanted, const std::string& hash,
                    const Identity& identity);
    // Why `identity` may not make a change; empty: it may.
    model::Problems problemsOfChange(const Identity& identity, const Account& account,
                                     const model::AccountChange& change) const;
    // What patch() does once the password, if any, has been hashed; then `hash` is not empty.
    Response change(const Call& call, const model::AccountChange& change, const std::string& hash);
    // Hashes a password and calls `done` on the loop's thread; responds itself if that fails.
    void withHash(const std::string& password, std::function<void(const std::string& hash)> done,
                  const Respond& respond);

    Accounts& accounts_;
    Sessions& sessions_;
    Authenticator& authenticator_;
    WorkerPool& hashing_;
    Post post_;
};

} // namespace redfish
