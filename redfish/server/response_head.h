// The head of a response: status line and header fields. Thread of the loop only.
#pragma once

#include "redfish/http/message.h"

#include <chrono>
#include <string>
#include <string_view>

namespace redfish {

// The reason phrase of a status, "Not Found"; "<unknown-status>" for a number that HTTP does not
// define.
std::string_view reasonOf(unsigned int status);

// Appends status line, fields and the empty line that ends them. `Content-Length` is the size of
// the body even if the body is not sent (HEAD); a stream gets none and ends with its connection.
//   keepsConnection  selects "Connection: keep-alive" or "close"
//   now              becomes the Date
void appendHead(std::string& text, const Response& response, bool keepsConnection,
                std::chrono::system_clock::time_point now);

} // namespace redfish
