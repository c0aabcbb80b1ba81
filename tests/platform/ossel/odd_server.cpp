// One client at a time, one thread; bytes in, bytes out.
#include "odd_server.h"

#include "text.h"

#include <algorithm>
#include <array>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace test {

namespace {

bool sendAll(int descriptor, const std::string& bytes) {
    return ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
}

} // namespace

OddServer::OddServer(Answering answering) : answering_(std::move(answering)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    copyBounded(address.sun_path, folder_.file("odd.sock"));
    listener_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    stopping_ = ::eventfd(0, EFD_CLOEXEC);
    if (::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        ::listen(listener_, 8) != 0 || stopping_ < 0) {
        throw std::runtime_error("cannot listen at " + folder_.file("odd.sock"));
    }
    thread_ = std::thread([this] { serve(); });
}

OddServer::~OddServer() {
    ::eventfd_write(stopping_, 1);
    thread_.join();
    ::close(listener_);
    ::close(stopping_);
}

void OddServer::push(const std::string& bytes) {
    const std::lock_guard lock(mutex_);
    sendAll(client_, bytes);
}

std::vector<std::string> OddServer::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

bool OddServer::waitReadable(int descriptor) const {
    std::array<pollfd, 2> descriptors{pollfd{descriptor, POLLIN, 0}, pollfd{stopping_, POLLIN, 0}};
    return ::poll(descriptors.data(), descriptors.size(), -1) > 0 && descriptors[1].revents == 0;
}

void OddServer::serve() {
    while (waitReadable(listener_)) {
        const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        setClient(client);
        serveClient(client);
        setClient(-1);
        ::close(client);
    }
}

bool OddServer::send(int client, const Answer& answer) {
    if (!answer.inPieces) {
        return sendAll(client, answer.bytes);
    }
    return std::all_of(answer.bytes.begin(), answer.bytes.end(), [&](char byte) {
        std::this_thread::sleep_for(answer.pause);
        return sendAll(client, std::string(1, byte));
    });
}

void OddServer::setClient(int client) {
    const std::lock_guard lock(mutex_);
    client_ = client;
}

void OddServer::serveClient(int client) {
    std::vector<char> buffer(65536);
    while (waitReadable(client)) {
        const ssize_t length = ::recv(client, buffer.data(), buffer.size(), 0);
        if (length <= 0) {
            return;
        }
        const std::string request(buffer.data(), static_cast<std::size_t>(length));
        if (request == "*1\r\n$4\r\nPING\r\n") {
            sendAll(client, "+PONG\r\n");
            continue;
        }
        {
            const std::lock_guard lock(mutex_);
            requests_.push_back(request);
        }
        const Answer answer = answering_(request);
        if (!send(client, answer) || answer.closes) {
            return;
        }
    }
}

} // namespace test
