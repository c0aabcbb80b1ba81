// The road of a request: path, rights, body's type, handler, headers. What each resource is
// lies in the other files of this folder.
#include "redfish/service/service.h"

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

bool isJson(std::string_view contentType) {
    const std::string_view type = contentType.substr(0, contentType.find(';'));
    return type == "application/json" || type == "application/json ";
}

// A header Accept names types with "*" for any part; whatever else it says is passed over.
bool accepts(std::string_view accept, std::string_view contentType) {
    const std::string_view type = contentType.substr(0, contentType.find(';'));
    const std::string anyOfKind = std::string(type.substr(0, type.find('/'))) + "/*";
    return accept.empty() || accept.find("*/*") != std::string_view::npos ||
           accept.find(type) != std::string_view::npos ||
           accept.find(anyOfKind) != std::string_view::npos;
}

const std::string* findHeader(const Response& response, std::string_view name) {
    for (const auto& [each, value] : response.headers) {
        if (each == name) {
            return &value;
        }
    }
    return nullptr;
}

bool isReading(Method method) {
    return method == Method::get || method == Method::head;
}

} // namespace

bool mayManageUsers(const Identity& identity) {
    return hasPrivilege(identity.role, Privilege::configureUsers);
}

Service::Service(ServiceParts parts, ServiceOptions options)
    : parts_(std::move(parts)), options_(std::move(options)), router_(makeRoutes()),
      files_(options_.web) {}

void Service::handle(const Request& request, const Answer& answer) {
    dispatch(request, [&request, answer](Response response) {
        complete(request, response);
        answer(std::move(response));
    });
}

void Service::dispatch(const Request& request, const Answer& answer) {
    if (request.path != kPrefix && !request.path.starts_with("/redfish/")) {
        std::optional<Response> file = isReading(request.method)
                                           ? files_.find(request.path, request.acceptEncoding)
                                           : std::nullopt;
        answer(file ? std::move(*file)
                    : errorResponse(Message::resourceMissingAtUri, {request.path}));
        return;
    }
    if (!request.odataVersion.empty() && request.odataVersion != "4.0") {
        answer(errorResponse(Message::preconditionFailed));
        return;
    }
    const std::string_view path = withoutSlash(request.path);
    const auto match = router_.find(path, request.method);
    if (!match.isPathKnown) {
        answer(errorResponse(Message::resourceMissingAtUri, {request.path}));
    } else if (match.route == nullptr) {
        Response response =
            errorResponse(Message::operationNotAllowed, {std::string(nameOf(request.method))});
        response.headers.emplace_back("Allow", router_.allow(path));
        answer(std::move(response));
    } else {
        authorize(request, match, answer);
    }
}

void Service::authorize(const Request& request, const Router<Handle>::Match& match,
                        const Answer& answer) {
    if (match.route->privilege == Privilege::none) {
        run(request, match, {}, answer);
        return;
    }
    parts_.authenticator.identify(
        request, [this, &request, match, answer](const Identity& identity) {
            switch (identity.result) {
            case Identification::signedIn:
                if (!hasPrivilege(identity.role, match.route->privilege)) {
                    answer(errorResponse(Message::insufficientPrivilege));
                } else {
                    run(request, match, identity, answer);
                }
                break;
            case Identification::busy:
                answer(errorResponse(Message::providerUnavailable,
                                     {std::to_string(model::kRetryAfterSeconds)}));
                break;
            default:
                answer(errorResponse(Message::noValidSession));
            }
        });
}

void Service::run(const Request& request, const Router<Handle>::Match& match,
                  const Identity& identity, const Answer& answer) {
    Call call{
        .request = request, .identity = identity, .member = std::string(match.member), .query = {}};
    if (isReading(request.method)) {
        if (!request.query.empty() && match.route->path != model::kEventStream) {
            const auto parameters = parseQuery(request.query);
            if (!parameters) {
                answer(errorResponse(Message::queryParameterValueFormatError, {"%", "?"}));
                return;
            }
            model::Checked<model::Query> query = model::checkQuery(*parameters);
            if (!query.isGood()) {
                answer(errorResponse(query.problems));
                return;
            }
            call.query = std::move(query.value);
        }
    } else if (!request.body.empty() && !isJson(request.contentType)) {
        answer(errorResponse(Message::unsupportedMediaType, {std::string(request.contentType)}));
        return;
    }
    (this->*match.route->handle)(call, answer);
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
