// Where a Modbus unit is reached: an address and a port. Names are not looked up, since a
// name server that is away would hold the caller for longer than any bound.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cooling {

struct UnitAddress {
    std::string host; // numeric, IPv6 without brackets
    int port = 0;
};

// "127.0.0.1:502", "[::1]:502" or "localhost:502", the last meaning 127.0.0.1. Nothing for
// any other text.
//   lowestPort  1; 0 where that means any free port
std::optional<UnitAddress> parseUnitAddress(std::string_view text, int lowestPort = 1);

// What is allowed, for the line that refuses a text.
constexpr const char* kAllowedAddresses =
    "an IPv4 address, an IPv6 address in brackets, or localhost, then a colon and a port";

} // namespace cooling
