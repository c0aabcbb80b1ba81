// Responses made of documents and of problems of the model. Any thread.
#pragma once

#include "redfish/http/message.h"
#include "redfish/model/errors.h"
#include "redfish/service/call.h"

#include <string>
#include <vector>

namespace redfish {

// A JSON body without an entity tag, for bodies that are not a resource of their own.
Response jsonResponse(const model::Json& document, unsigned int status = 200);

// A resource, status 200: the document after the call's $select and $expand, with the entity tag
// of the bytes that are sent.
Response documentResponse(const Call& call, const model::Json& document);

// The error body of these problems, at least one, with their common status and the fields that
// the status requires: Retry-After with 503, WWW-Authenticate with 401.
Response errorResponse(const model::Problems& problems);

// The same for one problem.
Response errorResponse(model::Message message, std::vector<std::string> arguments = {});

// Too much to do right now: 503 with Retry-After.
Response busyResponse();

// A member of a collection that does not exist, or that the caller may not see: 404.
//   type  "Session"
Response notFoundResponse(const std::string& type, const std::string& id);

// The response to a request that the server refused before any handler saw it. The limits, in
// bytes, are named in the message.
//   status  413, 429 or 431; any other: the header could not be understood
Response unreadableResponse(unsigned int status, std::size_t maxHeaderBytes,
                            std::size_t maxBodyBytes);

} // namespace redfish
