// One client at a time, one thread; bytes in, bytes out.
#include "tests/support/odd_server.h"

#include <algorithm>
#include <sys/socket.h>
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
    thread_ = std::thread([this] { serve(); });
}

OddServer::~OddServer() {
    listener_.stop();
    thread_.join();
}

void OddServer::push(const std::string& bytes) {
    const std::lock_guard lock(mutex_);
    sendAll(client_, bytes);
}

std::vector<std::string> OddServer::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

void OddServer::serve() {
    while (listener_.waitReadable(listener_.descriptor())) {
        const int client = listener_.accept();
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
    while (listener_.waitReadable(client)) {
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
