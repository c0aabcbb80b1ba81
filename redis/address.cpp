// Strict on purpose: an address that two readers could split differently is refused.
#include "redis/address.h"

#include <charconv>
#include <cstdlib>
#include <sys/un.h>

namespace redis {

namespace {

constexpr std::string_view kUnixPrefix = "unix:";
constexpr std::string_view kTcpPrefix = "tcp:";
constexpr int kMaxPort = 65535;
constexpr std::size_t kMaxPathBytes = sizeof(sockaddr_un::sun_path) - 1;

Address parseUnix(std::string_view path) {
    if (path.empty()) {
        throw InvalidAddress("the path is missing");
    }
    if (path.size() > kMaxPathBytes) {
        throw InvalidAddress("the path is longer than the " + std::to_string(kMaxPathBytes) +
                             " characters of a socket's name");
    }
    return {.path = std::string(path), .host = {}, .port = 0};
}

// Only a host in brackets may contain colons: without them its end is ambiguous.
std::string_view parseHost(std::string_view text) {
    const bool isBracketed = text.size() > 2 && text.front() == '[' && text.back() == ']';
    const std::string_view host = isBracketed ? text.substr(1, text.size() - 2) : text;
    if (host.find_first_of(isBracketed ? "[]" : ":[]") != std::string_view::npos) {
        throw InvalidAddress("the host is no name or address; an IPv6 address needs brackets");
    }
    return host;
}

int parsePort(std::string_view text) {
    int port = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, port);
    if (error != std::errc() || stop != end || port < 1 || port > kMaxPort) {
        throw InvalidAddress("the port is not a number from 1 to 65535");
    }
    return port;
}

Address parseTcp(std::string_view text) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos || colon == 0) {
        throw InvalidAddress("host or port is missing");
    }
    const std::string_view host = parseHost(text.substr(0, colon));
    return {.path = {}, .host = std::string(host), .port = parsePort(text.substr(colon + 1))};
}

} // namespace

std::string Address::text() const {
    if (!path.empty()) {
        return std::string(kUnixPrefix) + path;
    }
    const bool isBracketed = host.find(':') != std::string::npos;
    return std::string(kTcpPrefix) + (isBracketed ? '[' + host + ']' : host) + ':' +
           std::to_string(port);
}

Address parseAddress(std::string_view text) {
    if (text.starts_with(kUnixPrefix)) {
        return parseUnix(text.substr(kUnixPrefix.size()));
    }
    if (text.starts_with(kTcpPrefix)) {
        return parseTcp(text.substr(kTcpPrefix.size()));
    }
    throw InvalidAddress("it begins with neither unix: nor tcp:");
}

std::string configuredAddress() {
    const char* const value = std::getenv(kAddressVariable);
    return value != nullptr && *value != '\0' ? value : kDefaultAddress;
}

} // namespace redis
