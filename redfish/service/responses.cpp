// Turns documents and problems of the model into answers.
#include "redfish/service/responses.h"

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

Response errorResponse(const model::Problems& problems) {
    Response response = jsonResponse(model::errorBody(problems),
                                     static_cast<unsigned int>(model::statusOf(problems)));
    if (response.status == 503) {
        response.headers.emplace_back("Retry-After", std::to_string(model::kRetryAfterSeconds));
    }
    // Meant: no challenge for Basic. A browser would answer it with a window of its own; other
    // clients that have a password send it unasked.
    if (response.status == 401) {
        response.headers.emplace_back("WWW-Authenticate", "X-Auth-Token realm=\"redfish\"");
    }
    return response;
}

Response errorResponse(model::Message message, std::vector<std::string> arguments) {
    return errorResponse({{.message = message, .arguments = std::move(arguments), .property = {}}});
}

Response unreadableResponse(unsigned int status, std::size_t headerBytes, std::size_t bodyBytes) {
    switch (status) {
    case 413:
        return errorResponse(model::Message::payloadTooLarge, {std::to_string(bodyBytes)});
    case 429:
        return errorResponse(model::Message::requestLimitExceeded, {"1"});
    case 431:
        return errorResponse(model::Message::headerTooLarge, {std::to_string(headerBytes)});
    default:
        return errorResponse(model::Message::headerInvalid, {"of the request"});
    }
}

} // namespace redfish
