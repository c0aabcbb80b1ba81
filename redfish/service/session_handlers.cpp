#include "redfish/service/session_handlers.h"

#include "redfish/model/accounts.h"
#include "redfish/model/addresses.h"
#include "redfish/service/responses.h"

#include <array>
#include <chrono>
#include <ctime>

namespace redfish {

namespace {

using model::Message;
using model::Privilege;

std::string timeText() {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm parts{};
    ::gmtime_r(&now, &parts);
    std::array<char, 32> text{};
    const std::size_t size = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return {text.data(), size};
}

bool maySee(const Identity& identity, const Session& session) {
    return session.user == identity.user ||
           hasPrivilege(identity.role, Privilege::configureManager);
}

} // namespace

SessionHandlers::SessionHandlers(Sessions& sessions, const Accounts& accounts,
                                 Authenticator& authenticator, const Facts& facts)
    : sessions_(sessions), accounts_(accounts), authenticator_(authenticator), facts_(facts) {}

Routes SessionHandlers::routes() {
    using H = SessionHandlers;
    const std::string all(model::kSessions);
    // clang-format off
    return {
        {std::string(model::kSessionService), Method::patch,  Privilege::configureManager, handleBy(this, &H::patchService)},
        {all,                                 Method::get,    Privilege::login,            handleBy(this, &H::get)},
        {all,                                 Method::post,   Privilege::none,             handleBy(this, &H::post)},
        {all + "/*",                          Method::get,    Privilege::login,            handleBy(this, &H::get)},
        {all + "/*",                          Method::remove, Privilege::configureSelf,    handleBy(this, &H::remove)},
    };
    // clang-format on
}

std::optional<model::Json> SessionHandlers::document(const Identity& identity,
                                                     std::string_view address) const {
    if (address == model::kSessions) {
        return collection(identity);
    }
    const std::string prefix = model::memberOf(model::kSessions, "");
    return address.starts_with(prefix) ? member(identity, address.substr(prefix.size()))
                                       : std::nullopt;
}

model::Json SessionHandlers::collection(const Identity& identity) const {
    std::vector<std::string> ids;
    for (const Session* const session : sessions_.all(Clock::now())) {
        if (maySee(identity, *session)) {
            ids.push_back(session->id);
        }
    }
    return model::sessions(ids);
}

std::optional<model::Json> SessionHandlers::member(const Identity& identity,
                                                   std::string_view id) const {
    const Session* const session = sessions_.find(id, Clock::now());
    if (session == nullptr || !maySee(identity, *session)) {
        return std::nullopt;
    }
    const Account* const account = accounts_.find(session->user);
    return model::session(
        {.id = session->id,
         .userName = session->user,
         .roleId = account == nullptr ? std::string{} : std::string(nameOf(account->role)),
         .origin = session->origin,
         .created = session->created});
}

void SessionHandlers::patchService(const Call& call, const Respond& respond) {
    const auto change = model::checkSessionServicePatch(call.request.body);
    if (!change.isGood()) {
        respond(errorResponse(change.problems));
        return;
    }
    sessions_.setIdleLimit(change.value);
    respond(documentResponse(call, model::sessionService(facts_.now())));
}

void SessionHandlers::get(const Call& call, const Respond& respond) const {
    const std::optional<model::Json> found = document(call.identity, call.address);
    respond(found ? documentResponse(call, *found) : notFoundResponse("Session", call.member));
}

void SessionHandlers::post(const Call& call, const Respond& respond) {
    const auto credentials = model::checkNewSession(call.request.body);
    if (!credentials.isGood()) {
        respond(errorResponse(credentials.problems));
        return;
    }
    authenticator_.checkPassword(
        credentials.value.userName, credentials.value.password,
        [this, call, respond](const Identity& identity) { respond(signIn(call, identity)); });
}

Response SessionHandlers::signIn(const Call& call, const Identity& identity) {
    if (identity.result == Identification::busy) {
        return busyResponse();
    }
    if (identity.result != Identification::signedIn) {
        return errorResponse(Message::resourceAtUriUnauthorized,
                             {std::string(model::kSessions), "the credentials are not accepted"});
    }
    const auto made =
        sessions_.make(identity.user, std::string(call.request.peer), timeText(), Clock::now());
    if (!made) {
        return errorResponse(Message::sessionLimitExceeded);
    }
    Response response = jsonResponse(member(identity, made->id).value(), 201);
    response.headers.emplace_back("Location", model::memberOf(model::kSessions, made->id));
    response.headers.emplace_back("X-Auth-Token", made->token);
    return response;
}

void SessionHandlers::remove(const Call& call, const Respond& respond) {
    const Session* const session = sessions_.find(call.member, Clock::now());
    if (session == nullptr || !maySee(call.identity, *session)) {
        respond(notFoundResponse("Session", call.member));
        return;
    }
    sessions_.end(call.member);
    respond({.status = 204, .headers = {}, .contentType = {}, .body = nullptr, .feed = nullptr});
}

} // namespace redfish
