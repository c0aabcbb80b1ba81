// See relay.h. One thread serves all links; what it passes on it does not read.
#include "tests/support/relay.h"

#include "text.h"

#include <algorithm>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace test {

namespace {

constexpr int kBacklog = 64;
// How late a change of the delay is seen by what waits already.
constexpr int kMaxMilliseconds = 5;

int connectTo(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    copyBounded(address.sun_path, path);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        ::close(socket);
        return -1;
    }
    return socket;
}

bool hasHungUp(int peer) {
    char byte = 0;
    return ::recv(peer, &byte, 1, MSG_PEEK) <= 0;
}

bool isReadable(int descriptor) {
    pollfd looked{descriptor, POLLIN, 0};
    return ::poll(&looked, 1, 0) > 0;
}

} // namespace

Relay::Relay(const std::string& ownSocket, std::string serverSocket)
    : serverSocket_(std::move(serverSocket)), stagesLeft_(-1), listener_(ownSocket, kBacklog),
      thread_([this] { work(); }) {}

Relay::Relay(std::string serverSocket, int stages, Then then)
    : serverSocket_(std::move(serverSocket)), stagesLeft_(stages), then_(then),
      listener_(Listener::onLoopback(kBacklog)), thread_([this] { work(); }) {}

Relay::~Relay() {
    listener_.stop();
    thread_.join();
}

void Relay::work() {
    while (waitForSomething()) {
        if (isReadable(listener_.descriptor())) {
            accept();
        }
        for (auto link = links_.begin(); link != links_.end();) {
            if (isSilent_ || serve(*link)) {
                ++link;
            } else {
                close(*link);
                link = links_.erase(link);
            }
        }
    }
    std::for_each(links_.begin(), links_.end(), close);
}

// False: the end.
bool Relay::waitForSomething() {
    std::vector<pollfd> watched{{listener_.stopping(), POLLIN, 0},
                                {listener_.descriptor(), POLLIN, 0}};
    bool isSomethingWaiting = false;
    for (const Link& link : links_) {
        for (const Way* way : {&link.there, &link.back}) {
            if (!isSilent_ && way->isOpen) {
                watched.push_back({way->from, POLLIN, 0});
            }
            isSomethingWaiting = isSomethingWaiting || (!isSilent_ && !way->waiting.empty());
        }
    }
    ::poll(watched.data(), watched.size(), isSomethingWaiting ? kMaxMilliseconds : -1);
    return watched[0].revents == 0;
}

// A server that cannot be reached: the client is let go.
void Relay::accept() {
    const int client = listener_.accept();
    const int server = connectTo(serverSocket_);
    if (server < 0) {
        ::close(client);
        return;
    }
    links_.push_back({{client, server, true, {}}, {server, client, true, {}}});
}

// False: the link is at its end.
bool Relay::serve(Link& link) {
    if (link.there.isOpen && isReadable(link.there.from)) {
        if (stagesLeft_ == 0) {
            reached_ = !hasHungUp(link.there.from);
            isSilent_ = reached_ && then_ == Then::fallSilent;
            return isSilent_;
        }
        stagesLeft_ -= stagesLeft_ > 0 ? 1 : 0;
        receive(link.there);
    }
    if (link.back.isOpen && isReadable(link.back.from)) {
        receive(link.back);
    }
    return passOnDue(link.there) && passOnDue(link.back);
}

void Relay::receive(Way& way) {
    std::vector<char> bytes(65536);
    const ssize_t length = ::recv(way.from, bytes.data(), bytes.size(), 0);
    bytes.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    way.isOpen = !bytes.empty();
    way.waiting.push_back({Clock::now(), std::move(bytes)});
}

// False when the sender has hung up and all that it said was passed on.
bool Relay::passOnDue(Way& way) {
    while (!way.waiting.empty() && way.waiting.front().came + delay_.load() <= Clock::now()) {
        const std::vector<char>& bytes = way.waiting.front().bytes;
        if (bytes.empty() || ::send(way.to, bytes.data(), bytes.size(), MSG_NOSIGNAL) !=
                                 static_cast<ssize_t>(bytes.size())) {
            return false;
        }
        way.waiting.pop_front();
    }
    return true;
}

void Relay::close(const Link& link) {
    ::close(link.there.from);
    ::close(link.there.to);
}

} // namespace test
