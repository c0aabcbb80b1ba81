// The payload published on the registration's channel: the JSON array
// `[msgId, reqArg, replyChannel]`.
#pragma once

#include "platform/plugin_host.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace plugin_host {

// Longer payloads are refused unread.
constexpr std::size_t kMaxPayloadBytes = 65536;

// Fills the request and returns null. Otherwise returns why the payload is refused, a constant
// text, with the request in any state. The texts become C strings: none contains a NUL.
const char* parseRequest(std::string_view payload, RequestTriple& request);

// The beginning of the payload for a line of log, in printable ASCII.
std::string shownPayload(std::string_view payload);

} // namespace plugin_host
