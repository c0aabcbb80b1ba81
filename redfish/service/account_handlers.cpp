// Accounts: who there is, with which role. Everyone may look at his own and change its
// password; all else is for those who may manage users.
#include "redfish/http/entity_tag.h"
#include "redfish/model/accounts.h"
#include "redfish/model/addresses.h"
#include "redfish/security/passwords.h"
#include "redfish/service/responses.h"
#include "redfish/service/service.h"

#include <iostream>
#include <utility>

namespace redfish {

namespace {

using model::Message;

model::AccountRules accountRules() {
    return {.shortestPassword = kShortestPassword,
            .longestPassword = kLongestPassword,
            .isAccountName = isAccountName};
}

bool maySee(const Identity& identity, const std::string& name) {
    return identity.user == name || mayManageUsers(identity);
}

Response notFound(const std::string& name) {
    return errorResponse(Message::resourceNotFound, {"ManagerAccount", name});
}

Response cannotBeKept(const std::exception& error) {
    std::cerr << "orvane-redfish: " << error.what() << std::endl;
    return errorResponse(Message::internalError);
}

} // namespace

std::optional<model::Json> Service::accountDocument(const Call& call,
                                                    const std::string& name) const {
    const Account* const account = parts_.accounts.find(name);
    if (account == nullptr || !maySee(call.identity, name)) {
        return std::nullopt;
    }
    return model::account({.userName = account->name,
                           .roleId = std::string(nameOf(account->role)),
                           .isEnabled = account->isEnabled,
                           .isLocked = parts_.authenticator.isLocked(name)});
}

model::Json Service::accountsDocument(const Call& call) const {
    std::vector<std::string> names;
    for (const Account& account : parts_.accounts.all()) {
        if (maySee(call.identity, account.name)) {
            names.push_back(account.name);
        }
    }
    return model::accounts(names);
}

void Service::getAccounts(const Call& call, const Respond& respond) {
    answerDocument(call, accountsDocument(call), respond);
}

void Service::getAccount(const Call& call, const Respond& respond) {
    const std::optional<model::Json> document = accountDocument(call, call.member);
    if (!document) {
        respond(notFound(call.member));
        return;
    }
    answerDocument(call, *document, respond);
}

void Service::withHash(const std::string& password, std::function<void(const std::string&)> done,
                       const Respond& respond) {
    const bool isTaken = parts_.checks.submit([this, password, done = std::move(done), respond] {
        std::string hash;
        try {
            hash = hashPassword(password);
        } catch (const std::exception&) {
            hash.clear();
        }
        parts_.post([done, hash, respond] {
            if (hash.empty()) {
                respond(errorResponse(Message::internalError));
            } else {
                done(hash);
            }
        });
    });
    if (!isTaken) {
        respond(errorResponse(Message::providerUnavailable,
                              {std::to_string(model::kRetryAfterSeconds)}));
    }
}

void Service::postAccount(const Call& call, const Respond& respond) {
    const auto checked = model::checkNewAccount(call.request.body, accountRules());
    if (!checked.isGood()) {
        respond(errorResponse(checked.problems));
        return;
    }
    const model::NewAccount wanted = checked.value;
    withHash(
        wanted.password,
        [this, call, wanted, respond](const std::string& hash) {
            // Looked at only now: another request may have made it meanwhile.
            if (parts_.accounts.find(wanted.userName) != nullptr) {
                respond(errorResponse(Message::resourceAlreadyExists,
                                      {"ManagerAccount", "UserName", wanted.userName}));
                return;
            }
            if (parts_.accounts.all().size() >= kMaxAccounts) {
                respond(errorResponse(Message::createLimitReachedForResource));
                return;
            }
            try {
                parts_.accounts.put({.name = wanted.userName,
                                     .role = roleNamed(wanted.roleId).value(),
                                     .isEnabled = wanted.isEnabled,
                                     .hash = hash});
            } catch (const std::exception& error) {
                respond(cannotBeKept(error));
                return;
            }
            parts_.authenticator.forget(wanted.userName);
            Response response = jsonResponse(accountDocument(call, wanted.userName).value(), 201);
            response.headers.emplace_back("Location",
                                          model::memberOf(model::kAccounts, wanted.userName));
            respond(std::move(response));
        },
        respond);
}

// A user who may not manage others may change his own password and nothing else.
model::Problems Service::problemsOfChange(const Call& call, const Account& account,
                                          const model::AccountChange& change) const {
    const bool isMore = change.roleId || change.isEnabled || change.unlocks;
    if (isMore && !mayManageUsers(call.identity)) {
        return {{.message = Message::insufficientPrivilege, .arguments = {}, .property = {}}};
    }
    const bool staysAdministrator =
        change.isEnabled.value_or(account.isEnabled) &&
        roleNamed(change.roleId.value_or(std::string(nameOf(account.role)))) == Role::administrator;
    const bool isAdministrator = account.isEnabled && account.role == Role::administrator;
    if (isAdministrator && !staysAdministrator &&
        !parts_.accounts.hasOtherAdministrator(account.name)) {
        return {{.message = Message::lastAdministrator, .arguments = {}, .property = {}}};
    }
    return {};
}

void Service::patchAccount(const Call& call, const Respond& respond) {
    const std::optional<model::Json> document = accountDocument(call, call.member);
    if (!document) {
        respond(notFound(call.member));
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
    const model::AccountChange change = checked.value;
    if (!change.password) {
        applyChange(call.member, change, {}, call, respond);
        return;
    }
    withHash(
        *change.password,
        [this, call, change, respond](const std::string& hash) {
            applyChange(call.member, change, hash, call, respond);
        },
        respond);
}

void Service::applyChange(const std::string& name, const model::AccountChange& change,
                          const std::string& hash, const Call& call, const Respond& respond) {
    const Account* const present = parts_.accounts.find(name);
    if (present == nullptr) {
        respond(notFound(name));
        return;
    }
    const model::Problems problems = problemsOfChange(call, *present, change);
    if (!problems.empty()) {
        respond(errorResponse(problems));
        return;
    }
    Account account = *present;
    account.hash = hash.empty() ? account.hash : hash;
    account.isEnabled = change.isEnabled.value_or(account.isEnabled);
    account.role = change.roleId ? roleNamed(*change.roleId).value() : account.role;
    try {
        parts_.accounts.put(account);
    } catch (const std::exception& error) {
        respond(cannotBeKept(error));
        return;
    }
    parts_.authenticator.forget(name);
    if (!hash.empty() || !account.isEnabled) {
        // Whoever signed in with the old password is out, but for the one who changes it.
        parts_.sessions.endAllOf(name, call.identity.sessionId);
    }
    answerDocument(call, accountDocument(call, name).value(), respond);
}

void Service::deleteAccount(const Call& call, const Respond& respond) {
    const Account* const account = parts_.accounts.find(call.member);
    if (account == nullptr) {
        respond(notFound(call.member));
        return;
    }
    if (account->isEnabled && account->role == Role::administrator &&
        !parts_.accounts.hasOtherAdministrator(account->name)) {
        respond(errorResponse(Message::lastAdministrator));
        return;
    }
    try {
        parts_.accounts.remove(call.member);
    } catch (const std::exception& error) {
        respond(cannotBeKept(error));
        return;
    }
    parts_.authenticator.forget(call.member);
    parts_.sessions.endAllOf(call.member, {});
    respond(jsonResponse(model::successBody(Message::accountRemoved)));
}

} // namespace redfish
