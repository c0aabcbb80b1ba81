// Sessions: signing in, looking who is there, signing out.
#include "redfish/model/accounts.h"
#include "redfish/model/addresses.h"
#include "redfish/service/responses.h"
#include "redfish/service/service.h"

#include <array>
#include <ctime>

namespace redfish {

namespace {

using model::Message;

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

void Service::patchSessionService(const Call& call, const Respond& respond) {
    const auto change = model::checkSessionServicePatch(call.request.body);
    if (!change.isGood()) {
        respond(errorResponse(change.problems));
        return;
    }
    parts_.sessions.setIdleLimit(change.value);
    answerDocument(call, model::sessionService(facts()), respond);
}

model::Json Service::sessionsDocument(const Call& call) const {
    std::vector<std::string> ids;
    for (const Session* const session : parts_.sessions.all(Clock::now())) {
        if (maySee(call.identity, *session)) {
            ids.push_back(session->id);
        }
    }
    return model::sessions(ids);
}

std::optional<model::Json> Service::sessionDocument(const Call& call, const std::string& id) const {
    const Session* const session = parts_.sessions.find(id, Clock::now());
    if (session == nullptr || !maySee(call.identity, *session)) {
        return std::nullopt;
    }
    const Account* const account = parts_.accounts.find(session->user);
    return model::session(
        {.id = session->id,
         .userName = session->user,
         .roleId = account == nullptr ? std::string{} : std::string(nameOf(account->role)),
         .origin = session->origin,
         .created = session->created});
}

void Service::getSessions(const Call& call, const Respond& respond) {
    answerDocument(call, sessionsDocument(call), respond);
}

void Service::getSession(const Call& call, const Respond& respond) {
    const std::optional<model::Json> document = sessionDocument(call, call.member);
    if (!document) {
        respond(errorResponse(Message::resourceNotFound, {"Session", call.member}));
        return;
    }
    answerDocument(call, *document, respond);
}

void Service::postSession(const Call& call, const Respond& respond) {
    const auto credentials = model::checkNewSession(call.request.body);
    if (!credentials.isGood()) {
        respond(errorResponse(credentials.problems));
        return;
    }
    parts_.authenticator.checkPassword(
        credentials.value.userName, credentials.value.password,
        [this, &request = call.request, respond](const Identity& identity) {
            signIn(request, identity, respond);
        });
}

void Service::signIn(const Request& request, const Identity& identity, const Respond& respond) {
    if (identity.result == Identification::busy) {
        respond(errorResponse(Message::providerUnavailable,
                              {std::to_string(model::kRetryAfterSeconds)}));
        return;
    }
    if (identity.result != Identification::signedIn) {
        respond(errorResponse(Message::resourceAtUriUnauthorized,
                              {std::string(model::kSessions), "the credentials are not accepted"}));
        return;
    }
    const auto made =
        parts_.sessions.make(identity.user, std::string(request.peer), timeText(), Clock::now());
    if (!made) {
        respond(errorResponse(Message::sessionLimitExceeded));
        return;
    }
    const Call call{.request = request, .identity = identity, .member = made->id, .query = {}};
    Response response = jsonResponse(sessionDocument(call, made->id).value(), 201);
    response.headers.emplace_back("Location", model::memberOf(model::kSessions, made->id));
    response.headers.emplace_back("X-Auth-Token", made->token);
    respond(std::move(response));
}

void Service::deleteSession(const Call& call, const Respond& respond) {
    const Session* const session = parts_.sessions.find(call.member, Clock::now());
    if (session == nullptr || !maySee(call.identity, *session)) {
        respond(errorResponse(Message::resourceNotFound, {"Session", call.member}));
        return;
    }
    parts_.sessions.end(call.member);
    respond({.status = 204, .headers = {}, .contentType = {}, .body = nullptr, .feed = nullptr});
}

} // namespace redfish
