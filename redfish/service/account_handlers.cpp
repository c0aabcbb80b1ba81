#include "redfish/service/account_handlers.h"

#include "redfish/http/entity_tag.h"
#include "redfish/model/addresses.h"
#include "redfish/model/services.h"
#include "redfish/security/passwords.h"
#include "redfish/service/responses.h"

#include <iostream>
#include <utility>

namespace redfish {

namespace {

using model::Message;
using model::Privilege;

model::AccountRules accountRules() {
    return {.minPasswordLength = kMinPasswordLength,
            .maxPasswordLength = kMaxPasswordLength,
            .isAccountName = isAccountName};
}

bool mayManageUsers(const Identity& identity) {
    return hasPrivilege(identity.role, Privilege::configureUsers);
}

bool maySee(const Identity& identity, std::string_view name) {
    return identity.user == name || mayManageUsers(identity);
}

bool isEnabledAdministrator(const Account& account) {
    return account.isEnabled && account.role == model::Role::administrator;
}

Response cannotBeKept(const std::exception& error) {
    std::cerr << "orvane-redfish: " << error.what() << std::endl;
    return errorResponse(Message::internalError);
}

} // namespace

AccountHandlers::AccountHandlers(Accounts& accounts, Sessions& sessions,
                                 Authenticator& authenticator, WorkerPool& hashing, Post post)
    : accounts_(accounts), sessions_(sessions), authenticator_(authenticator), hashing_(hashing),
      post_(std::move(post)) {}

Routes AccountHandlers::routes() {
    using H = AccountHandlers;
    const std::string all(model::kAccounts);
    // clang-format off
    return {
        {all,        Method::get,    Privilege::login,          handleBy(this, &H::get)},
        {all,        Method::post,   Privilege::configureUsers, handleBy(this, &H::post)},
        {all + "/*", Method::get,    Privilege::login,          handleBy(this, &H::get)},
        {all + "/*", Method::patch,  Privilege::configureSelf,  handleBy(this, &H::patch)},
        {all + "/*", Method::remove, Privilege::configureUsers, handleBy(this, &H::remove)},
    };
    // clang-format on
}

std::optional<model::Json> AccountHandlers::document(const Identity& identity,
                                                     std::string_view address) const {
    if (address == model::kAccounts) {
        return collection(identity);
    }
    const std::string prefix = model::memberOf(model::kAccounts, "");
    return address.starts_with(prefix) ? member(identity, address.substr(prefix.size()))
                                       : std::nullopt;
}

model::Json AccountHandlers::collection(const Identity& identity) const {
    std::vector<std::string> names;
    for (const Account& account : accounts_.all()) {
        if (maySee(identity, account.name)) {
            names.push_back(account.name);
        }
    }
    return model::accounts(names);
}

std::optional<model::Json> AccountHandlers::member(const Identity& identity,
                                                   std::string_view name) const {
    const Account* const account = accounts_.find(name);
    if (account == nullptr || !maySee(identity, name)) {
        return std::nullopt;
    }
    return model::account({.userName = account->name,
                           .roleId = std::string(nameOf(account->role)),
                           .isEnabled = account->isEnabled,
                           .isLocked = authenticator_.isLocked(account->name)});
}

void AccountHandlers::get(const Call& call, const Respond& respond) const {
    const std::optional<model::Json> found = document(call.identity, call.address);
    respond(found ? documentResponse(call, *found)
                  : notFoundResponse("ManagerAccount", call.member));
}

void AccountHandlers::withHash(const std::string& password,
                               std::function<void(const std::string& hash)> done,
                               const Respond& respond) {
    const bool isTaken = hashing_.submit([this, password, done = std::move(done), respond] {
        std::string hash;
        try {
            hash = hashPassword(password);
        } catch (const std::exception&) {
            hash.clear();
        }
        post_([done, hash, respond] {
            if (hash.empty()) {
                respond(errorResponse(Message::internalError));
            } else {
                done(hash);
            }
        });
    });
    if (!isTaken) {
        respond(busyResponse());
    }
}

void AccountHandlers::post(const Call& call, const Respond& respond) {
    const auto checked = model::checkNewAccount(call.request.body, accountRules());
    if (!checked.isGood()) {
        respond(errorResponse(checked.problems));
        return;
    }
    const model::NewAccount wanted = checked.value;
    withHash(
        wanted.password,
        [this, call, wanted, respond](const std::string& hash) {
            respond(create(wanted, hash, call.identity));
        },
        respond);
}

// Runs after hashing: another request may have created the account meanwhile.
Response AccountHandlers::create(const model::NewAccount& wanted, const std::string& hash,
                                 const Identity& identity) {
    if (accounts_.find(wanted.userName) != nullptr) {
        return errorResponse(Message::resourceAlreadyExists,
                             {"ManagerAccount", "UserName", wanted.userName});
    }
    if (accounts_.all().size() >= kMaxAccounts) {
        return errorResponse(Message::createLimitReachedForResource);
    }
    try {
        accounts_.put({.name = wanted.userName,
                       .role = model::roleNamed(wanted.roleId).value(),
                       .isEnabled = wanted.isEnabled,
                       .hash = hash});
    } catch (const std::exception& error) {
        return cannotBeKept(error);
    }
    authenticator_.forget(wanted.userName);
    Response response = jsonResponse(member(identity, wanted.userName).value(), 201);
    response.headers.emplace_back("Location", model::memberOf(model::kAccounts, wanted.userName));
    return response;
}

// A user who may not manage others may change his own password and nothing else.
model::Problems AccountHandlers::problemsOfChange(const Identity& identity, const Account& account,
                                                  const model::AccountChange& change) const {
    const bool isMore = change.roleId || change.isEnabled || change.unlocks;
    if (isMore && !mayManageUsers(identity)) {
        return {{.message = Message::insufficientPrivilege, .arguments = {}, .property = {}}};
    }
    const bool staysAdministrator =
        change.isEnabled.value_or(account.isEnabled) &&
        model::roleNamed(change.roleId.value_or(std::string(nameOf(account.role)))) ==
            model::Role::administrator;
    if (isEnabledAdministrator(account) && !staysAdministrator &&
        !accounts_.hasOtherAdministrator(account.name)) {
        return {{.message = Message::lastAdministrator, .arguments = {}, .property = {}}};
    }
    return {};
}

void AccountHandlers::patch(const Call& call, const Respond& respond) {
    const std::optional<model::Json> document = member(call.identity, call.member);
    if (!document) {
        respond(notFoundResponse("ManagerAccount", call.member));
        return;
    }
    const auto checked = model::checkAccountPatch(call.request.body, accountRules());
    if (!checked.isGood()) {
        respond(errorResponse(checked.problems));
        return;
    }
    if (!call.request.ifMatch.empty() &&
        !isListed(call.request.ifMatch, entityTag(model::serialise(*document)),
                  Comparison::strong)) {
        respond(errorResponse(Message::preconditionFailed));
        return;
    }
    const model::AccountChange wanted = checked.value;
    if (!wanted.password) {
        respond(change(call, wanted, {}));
        return;
    }
    withHash(
        *wanted.password,
        [this, call, wanted, respond](const std::string& hash) {
            respond(change(call, wanted, hash));
        },
        respond);
}

Response AccountHandlers::change(const Call& call, const model::AccountChange& change,
                                 const std::string& hash) {
    const std::string& name = call.member;
    const Account* const present = accounts_.find(name);
    if (present == nullptr) {
        return notFoundResponse("ManagerAccount", name);
    }
    const model::Problems problems = problemsOfChange(call.identity, *present, change);
    if (!problems.empty()) {
        return errorResponse(problems);
    }
    Account account = *present;
    account.hash = hash.empty() ? account.hash : hash;
    account.isEnabled = change.isEnabled.value_or(account.isEnabled);
    account.role = change.roleId ? model::roleNamed(*change.roleId).value() : account.role;
    try {
        accounts_.put(account);
    } catch (const std::exception& error) {
        return cannotBeKept(error);
    }
    authenticator_.forget(name);
    if (!hash.empty() || !account.isEnabled) {
        // Ends every session of the old password but the one that changes it.
        sessions_.endAllOf(name, call.identity.sessionId);
    }
    return documentResponse(call, member(call.identity, name).value());
}

void AccountHandlers::remove(const Call& call, const Respond& respond) {
    const Account* const account = accounts_.find(call.member);
    if (account == nullptr) {
        respond(notFoundResponse("ManagerAccount", call.member));
        return;
    }
    if (isEnabledAdministrator(*account) && !accounts_.hasOtherAdministrator(account->name)) {
        respond(errorResponse(Message::lastAdministrator));
        return;
    }
    try {
        accounts_.remove(call.member);
    } catch (const std::exception& error) {
        respond(cannotBeKept(error));
        return;
    }
    authenticator_.forget(call.member);
    sessions_.endAllOf(call.member, {});
    respond(jsonResponse(model::successBody(Message::accountRemoved)));
}

} // namespace redfish
