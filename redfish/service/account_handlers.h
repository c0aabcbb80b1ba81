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
    void get(const Call& call, const Respond& respond);
    void post(const Call& call, const Respond& respond);
    void patch(const Call& call, const Respond& respond);
    void remove(const Call& call, const Respond& respond);

    model::Json collection(const Identity& identity) const;
    std::optional<model::Json> member(const Identity& identity, std::string_view name) const;
    Response create(const model::NewAccount& wanted, const std::string& hash,
                    const Identity& identity);
    model::Problems problemsOfChange(const Identity& identity, const Account& account,
                                     const model::AccountChange& change) const;
    Response change(const Call& call, const model::AccountChange& change, const std::string& hash);
    // Calls `done` on the loop's thread, or responds itself if that fails.
    void withHash(const std::string& password, std::function<void(const std::string& hash)> done,
                  const Respond& respond);

    Accounts& accounts_;
    Sessions& sessions_;
    Authenticator& authenticator_;
    WorkerPool& hashing_;
    Post post_;
};

} // namespace redfish
