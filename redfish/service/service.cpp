#include "redfish/service/service.h"

#include "redfish/http/entity_tag.h"
#include "redfish/http/media_type.h"
#include "redfish/http/target.h"
#include "redfish/model/addresses.h"
#include "redfish/service/responses.h"

#include <iterator>
#include <utility>

namespace redfish {

namespace {

using model::Message;
using model::Privilege;

constexpr std::string_view kPrefix = "/redfish";

// The path as the model spells addresses: the service root ends with a slash, nothing else does.
std::string_view addressOf(std::string_view path) {
    const std::string_view address = withoutTrailingSlash(path);
    return address == withoutTrailingSlash(model::kServiceRoot) ? model::kServiceRoot : address;
}

bool isRedfish(std::string_view path) {
    return path == kPrefix || path.starts_with("/redfish/");
}

const std::string* findHeader(const Response& response, std::string_view name) {
    for (const auto& [each, value] : response.headers) {
        if (each == name) {
            return &value;
        }
    }
    return nullptr;
}

} // namespace

Service::Service(const ServiceParts& parts, const ServiceOptions& options)
    : authenticator_(parts.authenticator),
      facts_(options.uuid, options.version, parts.sessions, parts.authenticator),
      webGui_(parts.webGui, facts_),
      sessions_(parts.sessions, parts.accounts, parts.authenticator, facts_),
      accounts_(parts.accounts, parts.sessions, parts.authenticator, parts.hashing, parts.post),
      events_(parts.events), documents_(facts_, parts.webGui.read), router_(allRoutes()),
      files_(options.web) {}

Routes Service::allRoutes() {
    Routes all;
    // The WebGUI resource is asked for most, so it comes first.
    for (Routes routes : {webGui_.routes(), sessions_.routes(), accounts_.routes(),
                          events_.routes(), documents_.routes()}) {
        std::move(routes.begin(), routes.end(), std::back_inserter(all));
    }
    return all;
}

void Service::handle(const Request& request, const Respond& respond) {
    const std::string_view address = addressOf(request.path);
    dispatch(request, address, [this, &request, address, respond](Response response) {
        complete(request, address, response);
        respond(std::move(response));
    });
}

void Service::dispatch(const Request& request, std::string_view address, const Respond& respond) {
    if (!isRedfish(request.path)) {
        std::optional<Response> file = isReading(request.method)
                                           ? files_.find(request.path, request.acceptEncoding)
                                           : std::nullopt;
        respond(file ? std::move(*file)
                     : errorResponse(Message::resourceMissingAtUri, {request.path}));
        return;
    }
    if (!request.odataVersion.empty() && request.odataVersion != "4.0") {
        respond(errorResponse(Message::preconditionFailed));
        return;
    }
    const Match match = router_.find(address, request.method);
    if (!match.isPathKnown) {
        respond(errorResponse(Message::resourceMissingAtUri, {request.path}));
    } else if (match.route == nullptr) {
        Response response =
            errorResponse(Message::operationNotAllowed, {std::string(nameOf(request.method))});
        response.headers.emplace_back("Allow", router_.allow(address));
        respond(std::move(response));
    } else {
        authorise(request, address, match, respond);
    }
}

void Service::authorise(const Request& request, std::string_view address, const Match& match,
                        const Respond& respond) {
    if (match.route->privilege == Privilege::none) {
        call(request, address, match, {}, respond);
        return;
    }
    authenticator_.identify(request,
                            [this, &request, address, match, respond](const Identity& identity) {
                                switch (identity.result) {
                                case Identification::signedIn:
                                    if (!hasPrivilege(identity.role, match.route->privilege)) {
                                        respond(errorResponse(Message::insufficientPrivilege));
                                    } else {
                                        call(request, address, match, identity, respond);
                                    }
                                    break;
                                case Identification::busy:
                                    respond(busyResponse());
                                    break;
                                default:
                                    respond(errorResponse(Message::noValidSession));
                                }
                            });
}

void Service::call(const Request& request, std::string_view address, const Match& match,
                   const Identity& identity, const Respond& respond) const {
    Call call{.request = request,
              .address = address,
              .member = std::string(match.member),
              .identity = identity,
              .query = {},
              .lookUp = {}};
    if (isReading(request.method)) {
        // The event stream reads its own query.
        if (!request.query.empty() && match.route->path != model::kEventStream) {
            const auto parameters = parseQuery(request.query);
            if (!parameters) {
                respond(errorResponse(Message::queryParameterValueFormatError, {"%", "?"}));
                return;
            }
            model::Checked<model::Query> query = model::checkQuery(*parameters);
            if (!query.isGood()) {
                respond(errorResponse(query.problems));
                return;
            }
            call.query = std::move(query.value);
            call.lookUp = [this, identity](const std::string& link) {
                return lookUp(identity, link);
            };
        }
    } else if (!request.body.empty() && !isJson(request.contentType)) {
        respond(errorResponse(Message::unsupportedMediaType, {std::string(request.contentType)}));
        return;
    }
    match.route->handle(call, respond);
}

std::optional<model::Json> Service::lookUp(const Identity& identity,
                                           const std::string& address) const {
    if (std::optional<model::Json> found = sessions_.document(identity, address)) {
        return found;
    }
    if (std::optional<model::Json> found = accounts_.document(identity, address)) {
        return found;
    }
    return documents_.document(address);
}

void Service::complete(const Request& request, std::string_view address, Response& response) const {
    const std::string* const entityTag = findHeader(response, "ETag");
    const bool isNotModified = response.status == 200 && isReading(request.method) &&
                               entityTag != nullptr && !request.ifNoneMatch.empty() &&
                               isListed(request.ifNoneMatch, *entityTag, Comparison::weak);
    const bool isOfAddress = entityTag != nullptr && isRedfish(request.path);
    if (isOfAddress) {
        response.headers.emplace_back("Allow", router_.allow(address));
    }
    if (request.path.starts_with(kPrefix)) {
        response.headers.emplace_back("OData-Version", "4.0");
        response.headers.emplace_back("Cache-Control", "no-cache");
        response.headers.emplace_back("X-Content-Type-Options", "nosniff");
    }
    if (response.status != 200 || !isReading(request.method)) {
        return;
    }
    if (isNotModified) {
        response.status = 304;
        response.body = nullptr;
        response.contentType = {};
    } else if (!accepts(request.accept, response.contentType)) {
        response = errorResponse(Message::notAcceptable, {std::string(request.accept)});
        response.headers.emplace_back("OData-Version", "4.0");
    }
}

} // namespace redfish
