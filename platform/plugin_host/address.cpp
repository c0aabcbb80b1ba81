// Reads the address of the server. Where the text comes from, and what follows from one that
// names no server, is left to subscription.cpp and connection.cpp.
#include "platform/plugin_host/address.h"

#include <charconv>
#include <sys/un.h>

namespace plugin_host {

namespace {

constexpr std::string_view kUnix = "unix:";
constexpr std::string_view kTcp = "tcp:";
constexpr int kHighestPort = 65535;

// 0: no port.
int readPort(std::string_view text) {
    int port = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, port);
    const bool isWhole = result.ec == std::errc() && result.ptr == end;
    return isWhole && port > 0 && port <= kHighestPort ? port : 0;
}

// Without its brackets; empty: no host. Only in brackets may a host have colons.
std::string_view readHost(std::string_view text) {
    std::string_view forbidden = ":[]";
    if (text.starts_with('[') && text.ends_with(']')) {
        text = text.substr(1, text.size() - 2);
        forbidden = "[]";
    }
    return text.find_first_of(forbidden) == std::string_view::npos ? text : std::string_view();
}

} // namespace

Address parseAddress(std::string_view text) {
    if (text.starts_with(kUnix)) {
        const std::string_view path = text.substr(kUnix.size());
        // hiredis would cut a longer path.
        const bool fits = path.size() < sizeof(sockaddr_un::sun_path);
        return {std::string(fits ? path : ""), "", 0};
    }
    const std::size_t colon = text.rfind(':');
    if (!text.starts_with(kTcp) || colon < kTcp.size()) {
        return {};
    }
    const std::string_view host = readHost(text.substr(kTcp.size(), colon - kTcp.size()));
    const int port = readPort(text.substr(colon + 1));
    return host.empty() || port == 0 ? Address{} : Address{"", std::string(host), port};
}

} // namespace plugin_host
