// Parses addresses of Modbus units.
#include "platform/cooling/unit_address.h"

#include <arpa/inet.h>
#include <charconv>

namespace cooling {

namespace {

constexpr int kMaxPort = 65535;

bool isNumeric(int family, const std::string& host) {
    in6_addr room{};
    return ::inet_pton(family, host.c_str(), &room) == 1;
}

std::optional<std::string> parseHost(std::string_view text) {
    if (text == "localhost") {
        return "127.0.0.1";
    }
    if (text.size() > 2 && text.front() == '[' && text.back() == ']') {
        std::string host(text.substr(1, text.size() - 2));
        return isNumeric(AF_INET6, host) ? std::optional(host) : std::nullopt;
    }
    std::string host(text);
    return isNumeric(AF_INET, host) ? std::optional(host) : std::nullopt;
}

std::optional<int> parsePort(std::string_view text, int lowestPort) {
    int port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size() || port < lowestPort ||
        port > kMaxPort) {
        return std::nullopt;
    }
    return port;
}

} // namespace

std::optional<UnitAddress> parseUnitAddress(std::string_view text, int lowestPort) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos || text.find('\0') != std::string_view::npos) {
        return std::nullopt;
    }
    const auto host = parseHost(text.substr(0, colon));
    const auto port = parsePort(text.substr(colon + 1), lowestPort);
    if (!host || !port) {
        return std::nullopt;
    }
    return UnitAddress{*host, *port};
}

} // namespace cooling
