#include "relay.h"

#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace test {

namespace {

constexpr int kPortOfDisplayNought = 6000;

sockaddr_in loopback() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int connectTo(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        ::close(socket);
        return -1; // passing on fails, and the client is let go
    }
    return socket;
}

// False when the sender has nothing more to say.
bool passOn(int from, int to) {
    std::array<char, 65536> bytes{};
    const ssize_t length = ::recv(from, bytes.data(), bytes.size(), 0);
    return length > 0 &&
           ::send(to, bytes.data(), static_cast<std::size_t>(length), MSG_NOSIGNAL) == length;
}

bool hasHungUp(int peer) {
    char byte = 0;
    return ::recv(peer, &byte, 1, MSG_PEEK) <= 0;
}

} // namespace

Relay::Relay(std::string serverSocket, int stages, Then then)
    : serverSocket_(std::move(serverSocket)), stages_(stages), then_(then),
      listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = loopback();
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        ::listen(listener_, 4) != 0 || ::pipe(stop_) != 0) {
        throw std::runtime_error("no relay");
    }
    thread_ = std::thread([this] { work(); });
}

Relay::~Relay() {
    ::close(stop_[1]);
    thread_.join();
    ::close(stop_[0]);
    ::close(listener_);
}

std::string Relay::display() const {
    sockaddr_in address{};
    socklen_t length = sizeof(address);
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
    return "127.0.0.1:" + std::to_string(ntohs(address.sin_port) - kPortOfDisplayNought);
}

void Relay::work() {
    pollfd first[] = {{stop_[0], POLLIN, 0}, {listener_, POLLIN, 0}};
    ::poll(first, 2, -1);
    if (first[0].revents != 0) {
        return;
    }
    const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    const int server = connectTo(serverSocket_);
    pollfd watched[] = {{stop_[0], POLLIN, 0}, {client, POLLIN, 0}, {server, POLLIN, 0}};
    int left = stages_;
    bool open = true;
    while (open && ::poll(watched, 3, -1) > 0 && watched[0].revents == 0) {
        if (watched[1].revents != 0 && left == 0) {
            reached_ = !hasHungUp(client);
            break;
        }
        if (watched[1].revents != 0) {
            --left;
            open = passOn(client, server);
        }
        if (watched[2].revents != 0) {
            open = open && passOn(server, client);
        }
    }
    if (reached_ && then_ == Then::fallSilent) {
        ::poll(watched, 1, -1);
    }
    ::close(client);
    ::close(server);
}

} // namespace test
