// The Redfish service: everything between a parsed request and its response. Thread of the loop
// only.
#pragma once

#include "redfish/service/account_handlers.h"
#include "redfish/service/document_handlers.h"
#include "redfish/service/event_handlers.h"
#include "redfish/service/router.h"
#include "redfish/service/session_handlers.h"
#include "redfish/service/static_files.h"
#include "redfish/service/webgui_handlers.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace redfish {

// What the service works on. Borrowed: everything here must outlive the service.
struct ServiceParts {
    Accounts& accounts;
    Sessions& sessions;
    Authenticator& authenticator;
    // Where passwords are hashed.
    WorkerPool& hashing;
    WebGuiAccess webGui;
    EventHub& events;
    Post post;
};

struct ServiceOptions {
    // Of this installation; empty: none.
    std::string uuid;
    // Of the product.
    std::string version;
    // Folder of the web page; empty: no page is served.
    std::filesystem::path web;
};

// Finds the handler of a request, checks that the caller may use it, and completes the response
// with what all have in common. The resources themselves are in the classes of handlers.
class Service {
public:
    Service(const ServiceParts& parts, const ServiceOptions& options);
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    // Answers a request, at once or later. The request must stay valid until then.
    void handle(const Request& request, const Respond& respond);

private:
    using Match = Router<Handle>::Match;

    Routes allRoutes();
    void dispatch(const Request& request, std::string_view address, const Respond& respond);
    void authorise(const Request& request, std::string_view address, const Match& match,
                   const Respond& respond);
    void call(const Request& request, std::string_view address, const Match& match,
              const Identity& identity, const Respond& respond) const;
    void complete(const Request& request, std::string_view address, Response& response) const;
    std::optional<model::Json> lookUp(const Identity& identity, const std::string& address) const;

    Authenticator& authenticator_;
    Facts facts_;
    WebGuiHandlers webGui_;
    SessionHandlers sessions_;
    AccountHandlers accounts_;
    EventHandlers events_;
    DocumentHandlers documents_;
    Router<Handle> router_;
    StaticFiles files_;
};

} // namespace redfish
