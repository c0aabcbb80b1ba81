#include "canned_server.h"

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace test {

namespace {

int listenOnLoopback(int backlog) {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        ::listen(listener, backlog) != 0) {
        throw std::runtime_error("cannot listen");
    }
    return listener;
}

sockaddr_in ownAddress(int listener) {
    sockaddr_in address{};
    socklen_t length = sizeof(address);
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    return address;
}

std::string addressOf(int listener) {
    return "127.0.0.1:" + std::to_string(ntohs(ownAddress(listener).sin_port));
}

} // namespace

CannedServer::CannedServer(Answer answer)
    : answer_(std::move(answer)), listener_(listenOnLoopback(16)) {
    if (::pipe(stop_) != 0) {
        throw std::runtime_error("no pipe");
    }
    thread_ = std::thread([this] { work(); });
}

CannedServer::~CannedServer() {
    ::close(stop_[1]);
    thread_.join();
    ::close(stop_[0]);
    ::close(listener_);
}

std::string CannedServer::address() const {
    return addressOf(listener_);
}

// False when the server is to end.
bool CannedServer::waitFor(int descriptor) const {
    pollfd watched[] = {{stop_[0], POLLIN, 0}, {descriptor, POLLIN, 0}};
    ::poll(watched, 2, -1);
    return watched[0].revents == 0;
}

void CannedServer::work() {
    while (waitFor(listener_)) {
        const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        ++connections_;
        serve(client);
        ::close(client);
    }
}

void CannedServer::serve(int client) {
    std::array<char, 512> request{};
    while (waitFor(client) && ::recv(client, request.data(), request.size(), 0) > 0) {
        ++requests_;
        for (const std::uint8_t byte : answer_.bytes) {
            std::this_thread::sleep_for(answer_.pause);
            if (::send(client, &byte, 1, MSG_NOSIGNAL) != 1) {
                return;
            }
        }
        if (answer_.hangUp) {
            return;
        }
    }
}

FullListener::FullListener() : listener_(listenOnLoopback(0)) {
    sockaddr_in address = ownAddress(listener_);
    for (int i = 0; i < 8; ++i) {
        const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        // It is in progress, or it finds the queue full: either fills what is left.
        static_cast<void>(
            ::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)));
        waiting_.push_back(socket);
    }
}

FullListener::~FullListener() {
    for (const int socket : waiting_) {
        ::close(socket);
    }
    ::close(listener_);
}

std::string FullListener::address() const {
    return addressOf(listener_);
}

} // namespace test
