#include "tests/platform/cooling/canned_server.h"

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace test {

namespace {

std::string addressOf(const Listener& listener) {
    return "127.0.0.1:" + std::to_string(listener.port());
}

} // namespace

CannedServer::CannedServer(Answer answer) : answer_(std::move(answer)) {
    thread_ = std::thread([this] { work(); });
}

CannedServer::~CannedServer() {
    listener_.stop();
    thread_.join();
}

std::string CannedServer::address() const {
    return addressOf(listener_);
}

void CannedServer::work() {
    while (listener_.waitReadable(listener_.descriptor())) {
        const int client = listener_.accept();
        ++connections_;
        serve(client);
        ::close(client);
    }
}

void CannedServer::serve(int client) {
    std::array<char, 512> request{};
    while (listener_.waitReadable(client) &&
           ::recv(client, request.data(), request.size(), 0) > 0) {
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

FullListener::FullListener() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(listener_.port());
    for (int i = 0; i < 8; ++i) {
        const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        // In progress, or the queue is full already: either way it is full now.
        static_cast<void>(
            ::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)));
        waiting_.push_back(socket);
    }
}

FullListener::~FullListener() {
    for (const int socket : waiting_) {
        ::close(socket);
    }
}

std::string FullListener::address() const {
    return addressOf(listener_);
}

} // namespace test
