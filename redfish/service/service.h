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
    // Back to the loop.
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
//
// The way of a request: handle() normalises the path; dispatch() finds the route, or a file of the
// page; authorise() asks who sends it; call() checks query and content type and calls the handler;
// complete() runs last, whichever of them responded.
class Service {
public:
    // Builds the table of routes. Throws std::logic_error if two routes collide.
    Service(const ServiceParts& parts, const ServiceOptions& options);
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    // Answers a request, at once or later. The request must stay valid until then.
    void handle(const Request& request, const Respond& respond);

private:
    using Match = Router<Handle>::Match;

    // The routes of all handlers, those asked for most first.
    Routes allRoutes();
    // Responds with 404 or 405 if there is no route, with 412 to another version of OData.
    void dispatch(const Request& request, std::string_view address, const Respond& respond);
    // Responds with 401, 403 or 503 unless the sender may use the route.
    void authorise(const Request& request, std::string_view address, const Match& match,
                   const Respond& respond);
    // Responds with 400, 415 or 501 to a query or a body that no handler takes.
    void call(const Request& request, std::string_view address, const Match& match,
              const Identity& identity, const Respond& respond) const;
    // Adds Allow and the fields that all responses have; turns a GET into 304 if the client has the
    // entity, or into 406 if it refuses the type.
    void complete(const Request& request, std::string_view address, Response& response) const;
    // The document behind a link, for $expand, as `identity` may see it.
    std::optional<model::Json> lookUp(const Identity& identity, const std::string& address) const;

    Authenticator& authenticator_;
    // Before the handlers, which borrow it.
    Facts facts_;
    WebGuiHandlers webGui_;
    SessionHandlers sessions_;
    AccountHandlers accounts_;
    EventHandlers events_;
    DocumentHandlers documents_;
    // After the handlers: its routes borrow them.
    Router<Handle> router_;
    StaticFiles files_;
};

} // namespace redfish
