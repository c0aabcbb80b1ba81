// Sockets by the system's calls.
#include "platform/cooling_unit_sim/sockets.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>

namespace sim {

namespace {

constexpr int kBacklog = 64;

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// An address of either family with its length, as the socket calls expect.
struct SocketAddress {
    sockaddr_storage storage{};
    socklen_t length = sizeof(storage);

    sockaddr* get() { return reinterpret_cast<sockaddr*>(&storage); }
};

SocketAddress toSocketAddress(const cooling::UnitAddress& address) {
    SocketAddress result;
    const auto port = htons(static_cast<std::uint16_t>(address.port));
    if (address.host.find(':') != std::string::npos) {
        sockaddr_in6 six{};
        six.sin6_family = AF_INET6;
        six.sin6_port = port;
        ::inet_pton(AF_INET6, address.host.c_str(), &six.sin6_addr);
        std::memcpy(&result.storage, &six, sizeof(six));
        result.length = sizeof(six);
    } else {
        sockaddr_in four{};
        four.sin_family = AF_INET;
        four.sin_port = port;
        ::inet_pton(AF_INET, address.host.c_str(), &four.sin_addr);
        std::memcpy(&result.storage, &four, sizeof(four));
        result.length = sizeof(four);
    }
    return result;
}

std::string toText(const SocketAddress& address) {
    char host[INET6_ADDRSTRLEN] = "?";
    if (address.storage.ss_family == AF_INET6) {
        sockaddr_in6 six{};
        std::memcpy(&six, &address.storage, sizeof(six));
        ::inet_ntop(AF_INET6, &six.sin6_addr, host, sizeof(host));
        return "[" + std::string(host) + "]:" + std::to_string(ntohs(six.sin6_port));
    }
    sockaddr_in four{};
    std::memcpy(&four, &address.storage, sizeof(four));
    ::inet_ntop(AF_INET, &four.sin_addr, host, sizeof(host));
    return std::string(host) + ":" + std::to_string(ntohs(four.sin_port));
}

SocketAddress unixAddress(const std::string& path) {
    sockaddr_un address{};
    if (path.empty() || path.size() >= sizeof(address.sun_path)) {
        errno = ENAMETOOLONG;
        fail("control socket " + path);
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    SocketAddress result;
    std::memcpy(&result.storage, &address, sizeof(address));
    result.length = sizeof(address);
    return result;
}

Descriptor tryConnect(const std::string& path) {
    SocketAddress address = unixAddress(path);
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket.isOpen() || ::connect(socket.number(), address.get(), address.length) != 0) {
        return {};
    }
    return socket;
}

} // namespace

Descriptor listenTcp(const cooling::UnitAddress& address) {
    SocketAddress where = toSocketAddress(address);
    Descriptor socket(
        ::socket(where.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int yes = 1;
    if (!socket.isOpen() ||
        ::setsockopt(socket.number(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes)) != 0 ||
        ::bind(socket.number(), where.get(), where.length) != 0 ||
        ::listen(socket.number(), kBacklog) != 0) {
        fail("cannot listen on " + toText(where));
    }
    return socket;
}

Descriptor listenUnix(const std::string& path) {
    if (tryConnect(path).isOpen()) {
        errno = EADDRINUSE;
        fail("control socket " + path);
    }
    if (errno == ECONNREFUSED) {
        ::unlink(path.c_str()); // left behind by a simulator that was killed
    }
    SocketAddress address = unixAddress(path);
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.isOpen() || ::bind(socket.number(), address.get(), address.length) != 0 ||
        ::listen(socket.number(), kBacklog) != 0) {
        fail("control socket " + path);
    }
    return socket;
}

Descriptor connectUnix(const std::string& path) {
    Descriptor socket = tryConnect(path);
    if (!socket.isOpen()) {
        fail("control socket " + path);
    }
    return socket;
}

std::string ownAddress(const Descriptor& socket) {
    SocketAddress address;
    ::getsockname(socket.number(), address.get(), &address.length);
    return toText(address);
}

std::string peerAddress(const Descriptor& socket) {
    SocketAddress address;
    ::getpeername(socket.number(), address.get(), &address.length);
    return toText(address);
}

} // namespace sim
