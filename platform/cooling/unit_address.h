// The address and port of a Modbus unit. Names are not looked up: an unreachable name server would
// hold the caller longer than any bound.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cooling {

struct UnitAddress {
    std::string host; // numeric, IPv6 without brackets
    int port = 0;
};

// Parses "127.0.0.1:502", "[::1]:502" or "localhost:502", which means 127.0.0.1. Returns nothing
// for any other text.
//   lowestPort  1, or 0 if that means any free port
std::optional<UnitAddress> parseUnitAddress(std::string_view text, int lowestPort = 1);

// The accepted forms, for error messages.
constexpr const char* kAllowedAddresses =
    "an IPv4 address, an IPv6 address in brackets, or localhost, with a port: 127.0.0.1:502";

} // namespace cooling
