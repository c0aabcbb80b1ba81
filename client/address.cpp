// Reads the address of the store, and refuses what could not be connected to.
// How the connection is made is left to client/wire.cpp.
#include "client/address.h"

#include "client/errors.h"

#include <charconv>
#include <cstdlib>
#include <sys/un.h>

namespace client {

namespace {

constexpr const char* kDefaultAddress = "unix:/run/redis/redis-server.sock";
constexpr int kHighestPort = 65535;

[[noreturn]] void refuse(const std::string& text, const std::string& reason) {
    throw InvalidArgument("store address \"" + text + "\": " + reason +
                          "; write unix:PATH or tcp:HOST:PORT");
}

Address parseUnix(const std::string& text, const std::string& path) {
    if (path.empty()) {
        refuse(text, "the path is missing");
    }
    if (path.size() >= sizeof(sockaddr_un::sun_path)) {
        refuse(text, "the path is longer than the " +
                         std::to_string(sizeof(sockaddr_un::sun_path) - 1) +
                         " characters of a socket's name");
    }
    return {.path = path, .host = {}, .port = 0};
}

Address parseTcp(const std::string& text, const std::string& rest) {
    const std::size_t colon = rest.rfind(':');
    if (colon == std::string::npos || colon == 0) {
        refuse(text, "host or port is missing");
    }
    std::string host = rest.substr(0, colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
    }
    int port = 0;
    const char* const end = rest.data() + rest.size();
    const auto [stopped, failure] = std::from_chars(rest.data() + colon + 1, end, port);
    if (failure != std::errc() || stopped != end || port < 1 || port > kHighestPort) {
        refuse(text, "the port is no number from 1 to 65535");
    }
    return {.path = {}, .host = host, .port = port};
}

} // namespace

std::string Address::text() const {
    if (!path.empty()) {
        return "unix:" + path;
    }
    const bool bracketed = host.find(':') != std::string::npos;
    return "tcp:" + (bracketed ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

Address parseAddress(const std::string& text) {
    if (text.starts_with("unix:")) {
        return parseUnix(text, text.substr(5));
    }
    if (text.starts_with("tcp:")) {
        return parseTcp(text, text.substr(4));
    }
    refuse(text, "it begins with neither unix: nor tcp:");
}

Address chooseAddress(const std::string& given) {
    if (!given.empty()) {
        return parseAddress(given);
    }
    const char* const named = std::getenv("OSSEL_REDIS");
    return parseAddress(named != nullptr && *named != '\0' ? named : kDefaultAddress);
}

} // namespace client
