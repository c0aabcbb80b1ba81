// Parses and shows the address of the store. What is not of the two allowed forms is
// refused here, so that nothing half understood reaches hiredis.
#include "platform/ossel/address.h"

#include <charconv>
#include <hiredis/hiredis.h>
#include <sys/un.h>

namespace ossel {

namespace {

constexpr std::string_view kUnixPrefix = "unix:";
constexpr std::string_view kTcpPrefix = "tcp:";

std::optional<Address> parseUnix(std::string_view path) {
    // hiredis would silently cut a path that does not fit.
    if (path.empty() || path.size() >= sizeof(sockaddr_un::sun_path)) {
        return std::nullopt;
    }
    return Address{std::string(path), {}, 0};
}

std::optional<int> parsePort(std::string_view text) {
    int port = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, port);
    if (error != std::errc{} || stop != end || port < 1 || port > 65535) {
        return std::nullopt;
    }
    return port;
}

// "[::1]" gives "::1"; a colon outside brackets leaves open where the host ends.
std::string_view parseHost(std::string_view text) {
    if (text.size() > 2 && text.front() == '[' && text.back() == ']') {
        text = text.substr(1, text.size() - 2);
        return text.find_first_of("[]") == std::string_view::npos ? text : std::string_view{};
    }
    return text.find_first_of(":[]") == std::string_view::npos ? text : std::string_view{};
}

std::optional<Address> parseTcp(std::string_view text) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view host = parseHost(text.substr(0, colon));
    const std::optional<int> port = parsePort(text.substr(colon + 1));
    if (host.empty() || !port) {
        return std::nullopt;
    }
    return Address{{}, std::string(host), *port};
}

} // namespace

std::optional<Address> parseAddress(std::string_view text) {
    if (text.starts_with(kUnixPrefix)) {
        return parseUnix(text.substr(kUnixPrefix.size()));
    }
    if (text.starts_with(kTcpPrefix)) {
        return parseTcp(text.substr(kTcpPrefix.size()));
    }
    return std::nullopt;
}

std::string addressText(const redisContext& context) {
    if (context.connection_type == REDIS_CONN_UNIX) {
        return "unix:" +
               std::string(context.unix_sock.path == nullptr ? "" : context.unix_sock.path);
    }
    const std::string host = context.tcp.host == nullptr ? "" : context.tcp.host;
    const bool bracketed = host.find(':') != std::string::npos;
    return "tcp:" + (bracketed ? '[' + host + ']' : host) + ':' + std::to_string(context.tcp.port);
}

} // namespace ossel
