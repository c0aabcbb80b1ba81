#include "redfish/service/responses.h"

#include "redfish/http/entity_tag.h"
#include "redfish/http/media_type.h"

#include <utility>

namespace redfish {

Response jsonResponse(const model::Json& document, unsigned int status) {
    return {.status = status,
            .headers = {},
            .contentType = kJsonType,
            .body = makeText(model::serialise(document)),
            .feed = nullptr};
}

Response documentResponse(const Call& call, const model::Json& document) {
    Response response = call.query.isPlain()
                            ? jsonResponse(document)
                            : jsonResponse(model::applyQuery(document, call.query, call.lookUp));
    response.headers.emplace_back("ETag", entityTag(*response.body));
    return response;
}

Response errorResponse(const model::Problems& problems) {
    Response response = jsonResponse(model::errorBody(problems),
                                     static_cast<unsigned int>(model::statusOf(problems)));
    if (response.status == 503) {
        response.headers.emplace_back("Retry-After", std::to_string(model::kRetryAfterSeconds));
    }
    // Meant: no challenge for Basic, which would make a browser open a dialogue of its own. Other
    // clients that have a password send it unasked.
    if (response.status == 401) {
        response.headers.emplace_back("WWW-Authenticate", "X-Auth-Token realm=\"redfish\"");
    }
    return response;
}

Response errorResponse(model::Message message, std::vector<std::string> arguments) {
    return errorResponse({{.message = message, .arguments = std::move(arguments), .property = {}}});
}

Response busyResponse() {
    return errorResponse(model::Message::providerUnavailable,
                         {std::to_string(model::kRetryAfterSeconds)});
}

Response notFoundResponse(const std::string& type, const std::string& id) {
    return errorResponse(model::Message::resourceNotFound, {type, id});
}

Response unreadableResponse(unsigned int status, std::size_t maxHeaderBytes,
                            std::size_t maxBodyBytes) {
    switch (status) {
    case 413:
        return errorResponse(model::Message::payloadTooLarge, {std::to_string(maxBodyBytes)});
    case 429:
        return errorResponse(model::Message::requestLimitExceeded, {"1"});
    case 431:
        return errorResponse(model::Message::headerTooLarge, {std::to_string(maxHeaderBytes)});
    default:
        return errorResponse(model::Message::headerInvalid, {"of the request"});
    }
}

} // namespace redfish
