// What is published on the registration's channel: the JSON array
// `[msgId, reqArg, replyChannel]`. What the texts mean is for the hook.
#pragma once

#include "platform/plugin_host.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace plugin_host {

// Longer payloads are refused unread.
constexpr std::size_t kMaxPayloadBytes = 65536;

// Null when the request was filled; otherwise why the payload is refused (a constant text),
// with the request in any state. The texts go on as C strings: none holds a NUL.
const char* parseRequest(std::string_view payload, RequestTriple& request);

// The payload for a line of log: its beginning, in printable ASCII.
std::string shownPayload(std::string_view payload);

} // namespace plugin_host
