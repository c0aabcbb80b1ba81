// The road of a request: path, rights, body's type, handler, headers. What each resource is
// lies in the other files of this folder.
#include "redfish/service/service.h"

#include "redfish/http/entity_tag.h"
#include "redfish/http/media_type.h"
#include "redfish/http/target.h"
#include "redfish/model/addresses.h"
#include "redfish/service/responses.h"

#include <utility>

namespace redfish {

namespace {

using model::Message;

constexpr std::string_view kPrefix = "/redfish";

// "/redfish/v1/" is the service root's own address; everywhere else a slash at the end is one
// too many, and harmless.
std::string_view withoutSlash(std::string_view path) {
    if (path == "/redfish/v1") {
        return model::kServiceRoot;
    }
    if (path != model::kServiceRoot && path.size() > 1 && path.ends_with('/')) {
        path.remove_suffix(1);
    }
    return path;
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

bool mayManageUsers(const Identity& identity) {
    return hasPrivilege(identity.role, Privilege::configureUsers);
}

Service::Service(ServiceParts parts, ServiceOptions options)
    : parts_(std::move(parts)), options_(std::move(options)), router_(makeRoutes()),
      files_(options_.web) {}

void Service::handle(const Request& request, const Respond& respond) {
    dispatch(request, [&request, respond](Response response) {
        complete(request, response);
        respond(std::move(response));
    });
}

void Service::dispatch(const Request& request, const Respond& respond) {
    if (request.path != kPrefix && !request.path.starts_with("/redfish/")) {
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
    const std::string_view path = withoutSlash(request.path);
    const auto match = router_.find(path, request.method);
    if (!match.isPathKnown) {
        respond(errorResponse(Message::resourceMissingAtUri, {request.path}));
    } else if (match.route == nullptr) {
        Response response =
            errorResponse(Message::operationNotAllowed, {std::string(nameOf(request.method))});
        response.headers.emplace_back("Allow", router_.allow(path));
        respond(std::move(response));
    } else {
        authorize(request, match, respond);
    }
}

void Service::authorize(const Request& request, const Router<Handle>::Match& match,
                        const Respond& respond) {
    if (match.route->privilege == Privilege::none) {
        run(request, match, {}, respond);
        return;
    }
    parts_.authenticator.identify(
        request, [this, &request, match, respond](const Identity& identity) {
            switch (identity.result) {
            case Identification::signedIn:
                if (!hasPrivilege(identity.role, match.route->privilege)) {
                    respond(errorResponse(Message::insufficientPrivilege));
                } else {
                    run(request, match, identity, respond);
                }
                break;
            case Identification::busy:
                respond(errorResponse(Message::providerUnavailable,
                                      {std::to_string(model::kRetryAfterSeconds)}));
                break;
            default:
                respond(errorResponse(Message::noValidSession));
            }
        });
}

void Service::run(const Request& request, const Router<Handle>::Match& match,
                  const Identity& identity, const Respond& respond) {
    Call call{
        .request = request, .identity = identity, .member = std::string(match.member), .query = {}};
    if (isReading(request.method)) {
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
        }
    } else if (!request.body.empty() && !isJson(request.contentType)) {
        respond(errorResponse(Message::unsupportedMediaType, {std::string(request.contentType)}));
        return;
    }
    (this->*match.route->handle)(call, respond);
}

void Service::complete(const Request& request, Response& response) {
    if (request.path.starts_with(kPrefix)) {
        response.headers.emplace_back("OData-Version", "4.0");
        response.headers.emplace_back("Cache-Control", "no-cache");
        response.headers.emplace_back("X-Content-Type-Options", "nosniff");
    }
    if (response.status != 200 || !isReading(request.method)) {
        return;
    }
    const std::string* const entityTag = findHeader(response, "ETag");
    if (entityTag != nullptr && !request.ifNoneMatch.empty() &&
        isListed(request.ifNoneMatch, *entityTag, Comparison::weak)) {
        response.status = 304;
        response.body = nullptr;
        response.contentType = {};
    } else if (!accepts(request.accept, response.contentType)) {
        response = errorResponse(Message::notAcceptable, {std::string(request.accept)});
        response.headers.emplace_back("OData-Version", "4.0");
    }
}

} // namespace redfish
