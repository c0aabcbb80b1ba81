// The Redfish service: everything between a request that was read and its answer. Routes,
// rights, headers that hold for all, and the handlers of each resource, which lie in the other
// .cpp files of this folder. Thread of the connections only.
#pragma once

#include "redfish/gateway/gateway.h"
#include "redfish/http/message.h"
#include "redfish/model/accounts.h"
#include "redfish/model/query.h"
#include "redfish/model/services.h"
#include "redfish/security/authenticator.h"
#include "redfish/service/event_hub.h"
#include "redfish/service/router.h"
#include "redfish/service/static_files.h"

#include <optional>
#include <string>
#include <vector>

namespace redfish {

// Borrowed; all of it lives longer than the service.
struct ServiceParts {
    Accounts& accounts;
    Sessions& sessions;
    Authenticator& authenticator;
    WorkerPool& checks; // where passwords are hashed
    Gateway& gateway;
    EventHub& events;
    Post post;
};

struct ServiceOptions {
    std::string uuid;          // of this installation; empty: none
    std::string version;       // of the product
    std::filesystem::path web; // folder of the web page; empty: none
};

class Service {
public:
    Service(ServiceParts parts, ServiceOptions options);

    // Answers a request, at once or later.
    void handle(const Request& request, const Respond& respond);

private:
    struct Call {
        const Request& request;
        Identity identity;
        std::string member; // last segment of the path, where the route leaves it open
        model::Query query; // of a GET
    };
    using Handle = void (Service::*)(const Call&, const Respond&);
    static std::vector<Route<Handle>> makeRoutes();

    // service.cpp
    void dispatch(const Request& request, const Respond& respond);
    void authorize(const Request& request, const Router<Handle>::Match& match,
                   const Respond& respond);
    void run(const Request& request, const Router<Handle>::Match& match, const Identity& identity,
             const Respond& respond);
    static void complete(const Request& request, Response& response);

    // documents.cpp
    void getFixed(const Call& call, const Respond& respond);
    void getManager(const Call& call, const Respond& respond);
    void getFile(const Call& call, const Respond& respond);
    void answerDocument(const Call& call, const model::Json& document,
                        const Respond& respond) const;
    std::optional<model::Json> lookUp(const Call& call, const std::string& address) const;
    model::ServiceFacts facts() const;

    // webgui_handlers.cpp
    void getWebGui(const Call& call, const Respond& respond);
    void patchWebGui(const Call& call, const Respond& respond);
    void turnOffLcd(const Call& call, const Respond& respond);
    void guiReady(const Call& call, const Respond& respond);
    void act(const Call& call, const char* action, const Respond& respond);

    // session_handlers.cpp
    void patchSessionService(const Call& call, const Respond& respond);
    void getSessions(const Call& call, const Respond& respond);
    void postSession(const Call& call, const Respond& respond);
    void getSession(const Call& call, const Respond& respond);
    void deleteSession(const Call& call, const Respond& respond);
    std::optional<model::Json> sessionDocument(const Call& call, const std::string& id) const;
    model::Json sessionsDocument(const Call& call) const;
    void signIn(const Request& request, const Identity& identity, const Respond& respond);

    // account_handlers.cpp
    void getAccounts(const Call& call, const Respond& respond);
    void postAccount(const Call& call, const Respond& respond);
    void getAccount(const Call& call, const Respond& respond);
    void patchAccount(const Call& call, const Respond& respond);
    void deleteAccount(const Call& call, const Respond& respond);
    std::optional<model::Json> accountDocument(const Call& call, const std::string& name) const;
    model::Json accountsDocument(const Call& call) const;
    model::Problems problemsOfChange(const Call& call, const Account& account,
                                     const model::AccountChange& change) const;
    void applyChange(const std::string& name, const model::AccountChange& change,
                     const std::string& hash, const Call& call, const Respond& respond);
    void withHash(const std::string& password, std::function<void(const std::string&)> done,
                  const Respond& respond);

    // event_handlers.cpp
    void openStream(const Call& call, const Respond& respond);

    ServiceParts parts_;
    ServiceOptions options_;
    Router<Handle> router_;
    StaticFiles files_;
    bool isProviderThere_ = true; // as far as the last read told
};

// Whether the identity may see or change what is another user's.
bool mayManageUsers(const Identity& identity);

} // namespace redfish
