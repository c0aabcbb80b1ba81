// What tests of handlers share: accounts of each role, sessions, a loop that the test runs, and a
// way to ask a class of handlers through its own routes.
#pragma once

#include "redfish/security/passwords.h"
#include "redfish/service/call.h"
#include "redfish/service/facts.h"
#include "tests/redfish/runtime/posted_work.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <string>

namespace test {

// A header of a response; "" where it has none of that name.
inline std::string headerOf(const redfish::Response& response, std::string_view name) {
    const auto found = std::find_if(response.headers.begin(), response.headers.end(),
                                    [name](const auto& each) { return each.first == name; });
    return found == response.headers.end() ? "" : found->second;
}

inline std::string bodyOf(const redfish::Response& response) {
    return response.body ? *response.body : "";
}

inline redfish::model::Json jsonOf(const redfish::Response& response) {
    return redfish::model::Json::parse(bodyOf(response));
}

// The end of the MessageId of an error, "PropertyUnknown".
inline std::string messageOf(const redfish::Response& response) {
    const std::string code = jsonOf(response)["error"]["code"];
    return code.substr(code.rfind('.') + 1);
}

class HandlersFixture : public testing::Test {
protected:
    static constexpr const char* kPassword = "right-password";

    HandlersFixture() {
        addAccount("admin", redfish::model::Role::administrator);
        addAccount("worker", redfish::model::Role::operatorRole);
        addAccount("looker", redfish::model::Role::readOnly);
    }

    void addAccount(const std::string& name, redfish::model::Role role) {
        static const std::string hash = redfish::hashPassword(kPassword);
        accounts.put({.name = name, .role = role, .isEnabled = true, .hash = hash});
    }

    // Somebody who is signed in, with the rights of his account.
    redfish::Identity as(const std::string& name, const std::string& sessionId = {}) const {
        return {.result = redfish::Identification::signedIn,
                .user = name,
                .role = accounts.find(name)->role,
                .sessionId = sessionId};
    }

    redfish::Sessions::Made signIn(const std::string& name) {
        return sessions.make(name, "192.0.2.1", "2026-01-31T12:00:00Z", redfish::Clock::now())
            .value();
    }

    // The response to a request whose caller has been found to be allowed. Runs posted work where
    // the handler does not respond at once.
    redfish::Response ask(const redfish::Routes& routes, redfish::Method method,
                          const std::string& path, const redfish::Identity& identity,
                          redfish::Request request = {}, const redfish::model::Query& query = {}) {
        const redfish::Router<redfish::Handle> router(routes);
        const auto match = router.find(path, method);
        EXPECT_NE(match.route, nullptr) << path;
        if (match.route == nullptr) {
            return {};
        }
        request.method = method;
        request.path = path;
        const auto response = std::make_shared<std::optional<redfish::Response>>();
        match.route->handle({.request = request,
                             .address = request.path,
                             .member = std::string(match.member),
                             .identity = identity,
                             .query = query,
                             .lookUp = [](const std::string&) { return std::nullopt; }},
                            [response](redfish::Response given) {
                                EXPECT_FALSE(*response) << "the second response";
                                *response = std::move(given);
                            });
        if (!*response) {
            loop.runOne();
        }
        EXPECT_TRUE(*response) << path;
        return response->value_or(redfish::Response{});
    }

    // The same with a body.
    redfish::Response send(const redfish::Routes& routes, redfish::Method method,
                           const std::string& path, const redfish::Identity& identity,
                           std::string_view body) {
        redfish::Request request;
        request.body = body;
        return ask(routes, method, path, identity, request);
    }

    TemporaryFolder folder;
    redfish::Accounts accounts{folder.path() / "accounts.json"};
    redfish::Sessions sessions{{.idle = std::chrono::seconds(60), .most = 4, .mostPerUser = 3}};
    PostedWork loop;
    redfish::WorkerPool checks{1, 4};
    redfish::Authenticator authenticator{accounts, sessions, checks, loop.post()};
    redfish::Facts facts{"12345678-1234-4234-8234-123456789abc", "1.2.3", sessions, authenticator};
};

} // namespace test
