#include "relay.h"

#include <array>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace test {

namespace {

constexpr int kPortOfDisplayNought = 6000;

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
    : serverSocket_(std::move(serverSocket)), stages_(stages), then_(then) {
    thread_ = std::thread([this] { work(); });
}

Relay::~Relay() {
    listener_.stop();
    thread_.join();
}

std::string Relay::display() const {
    return "127.0.0.1:" + std::to_string(listener_.port() - kPortOfDisplayNought);
}

void Relay::work() {
    if (!listener_.waitReadable(listener_.descriptor())) {
        return;
    }
    const int client = listener_.accept();
    const int server = connectTo(serverSocket_);
    pollfd watched[] = {
        {listener_.stopping(), POLLIN, 0}, {client, POLLIN, 0}, {server, POLLIN, 0}};
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
