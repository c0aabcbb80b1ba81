// The lines above the content of an answer.
#pragma once

#include "redfish/http/message.h"

#include <chrono>
#include <string>
#include <string_view>

namespace redfish {

// "OK", "Not Found", ...; "Unknown" for a status that the program does not send.
std::string_view reasonOf(unsigned int status);

// Appends status line and headers with the empty line behind them. The length of the content
// is told, also where none is sent because only the head was asked for; a stream ends with
// its connection.
void appendHead(std::string& text, const Response& response, bool keepsConnection,
                std::chrono::system_clock::time_point now);

} // namespace redfish
