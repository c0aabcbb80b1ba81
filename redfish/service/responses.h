// Answers as JSON, and answers that say what is wrong.
#pragma once

#include "redfish/http/message.h"
#include "redfish/model/errors.h"

namespace redfish {

Response jsonResponse(const model::Json& document, unsigned int status = 200);

// With the headers that the status asks for: Retry-After, WWW-Authenticate. At least one problem.
Response errorResponse(const model::Problems& problems);
Response errorResponse(model::Message message, std::vector<std::string> arguments = {});

// To a request that could not be read, with the limits that it met.
Response unreadableResponse(unsigned int status, std::size_t headerBytes, std::size_t bodyBytes);

} // namespace redfish
