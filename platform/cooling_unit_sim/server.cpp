// A single-threaded poll loop; nothing in it blocks.
#include "platform/cooling_unit_sim/server.h"

#include "log_line.h"
#include "platform/cooling_unit_sim/control.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <system_error>
#include <vector>

namespace sim {

namespace {

constexpr std::size_t kMaxLineBytes = 256;

Descriptor takeSignals() {
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, SIGTERM);
    ::sigaddset(&set, SIGINT);
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    Descriptor descriptor(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!descriptor.isOpen()) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
    return descriptor;
}

Descriptor acceptFrom(const Descriptor& listener) {
    return Descriptor(::accept4(listener.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

// Appends what has arrived to the buffer. Returns false if the peer is gone.
template <typename Buffer>
bool receive(const Descriptor& socket, Buffer& buffer) {
    std::array<char, 1024> part{};
    const ssize_t length = ::recv(socket.number(), part.data(), part.size(), 0);
    if (length < 0) {
        return errno == EAGAIN || errno == EINTR;
    }
    buffer.insert(buffer.end(), part.begin(), part.begin() + length);
    return length > 0;
}

// Answers are so short that a peer that reads always has room for one.
template <typename Buffer>
bool sendAll(const Descriptor& socket, const Buffer& bytes) {
    return ::send(socket.number(), bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
}

} // namespace

Server::Server(const cooling::UnitAddress& address, const std::string& controlPath, Unit& unit)
    : unit_(unit), signals_(takeSignals()), listener_(listenTcp(address)) {
    if (!controlPath.empty()) {
        control_ = listenUnix(controlPath);
        controlPath_ = controlPath;
    }
}

Server::~Server() {
    if (!controlPath_.empty()) {
        ::unlink(controlPath_.c_str());
    }
}

void Server::run() {
    while (waitForWork()) {
        for (Client& client : clients_) {
            read(client);
            sendDue(client);
        }
        for (Teller& teller : tellers_) {
            read(teller);
        }
        clients_.remove_if([](const Client& client) { return client.gone; });
        tellers_.remove_if([](const Teller& teller) { return teller.gone; });
        acceptClients();
        acceptTellers();
    }
}

// Milliseconds until the next delayed answer is due; -1 if there is none.
int Server::pauseUntilDue() const {
    int pause = -1;
    for (const Client& client : clients_) {
        if (!client.answers.empty()) {
            using std::chrono::ceil;
            using std::chrono::milliseconds;
            const auto left = ceil<milliseconds>(client.answers.front().due - Clock::now());
            const int time = std::max(0, static_cast<int>(left.count()));
            pause = pause < 0 ? time : std::min(pause, time);
        }
    }
    return pause;
}

// Returns false once a signal asks to stop.
bool Server::waitForWork() {
    std::vector<pollfd> watched{{signals_.number(), POLLIN, 0}, {listener_.number(), POLLIN, 0}};
    const auto watch = [&](const Descriptor& one) { watched.push_back({one.number(), POLLIN, 0}); };
    if (control_.isOpen()) {
        watch(control_);
    }
    for (const Client& client : clients_) {
        watch(client.socket);
    }
    for (const Teller& teller : tellers_) {
        watch(teller.socket);
    }
    if (::poll(watched.data(), watched.size(), pauseUntilDue()) < 0 && errno != EINTR) {
        throw std::system_error(errno, std::generic_category(), "poll");
    }
    return (watched.front().revents & POLLIN) == 0;
}

void Server::acceptClients() {
    for (Descriptor socket = acceptFrom(listener_); socket.isOpen();
         socket = acceptFrom(listener_)) {
        std::string name = peerAddress(socket);
        clients_.push_back({std::move(socket), std::move(name), {}, {}});
    }
}

void Server::acceptTellers() {
    if (!control_.isOpen()) {
        return;
    }
    for (Descriptor socket = acceptFrom(control_); socket.isOpen(); socket = acceptFrom(control_)) {
        tellers_.push_back({std::move(socket), {}});
    }
}

void Server::read(Client& client) {
    client.gone = !receive(client.socket, client.input);
    while (!client.gone) {
        const auto length = requestLength(client.input);
        if (!length) {
            client.gone = true;
        } else if (*length == 0) {
            return;
        } else {
            const auto end = client.input.begin() + static_cast<std::ptrdiff_t>(*length);
            const Bytes request(client.input.begin(), end);
            client.input.erase(client.input.begin(), end);
            serve(client, request);
        }
    }
}

// Writes a change to the state file before answering it.
void Server::serve(Client& client, const Bytes& request) {
    using Kind = Behaviour::Kind;
    if (behaviour_.kind == Kind::silent) {
        return;
    }
    if (behaviour_.kind == Kind::exception) {
        client.answers.push_back({Clock::now(), answerer_.exception(request, behaviour_.code)});
        return;
    }
    Answerer::Answer answer = answerer_.answer(request, unit_.scale());
    try {
        unit_.setScale(answer.scale, client.name);
    } catch (const std::system_error& error) {
        writeErrorLine("cooling-unit-sim: ", error.what());
        answer.bytes = answerer_.exception(request, MODBUS_EXCEPTION_SLAVE_OR_SERVER_FAILURE);
    }
    client.answers.push_back({Clock::now() + behaviour_.delay, std::move(answer.bytes)});
}

void Server::sendDue(Client& client) {
    while (!client.gone && !client.answers.empty() && client.answers.front().due <= Clock::now()) {
        client.gone = !sendAll(client.socket, client.answers.front().bytes);
        client.answers.pop_front();
    }
}

void Server::read(Teller& teller) {
    teller.gone = !receive(teller.socket, teller.line);
    const std::size_t end = teller.line.find('\n');
    if (end != std::string::npos) {
        const Obeyed obeyed = obey(teller.line.substr(0, end), behaviour_, unit_);
        sendAll(teller.socket, (obeyed.done ? kOk : kError) + obeyed.text + '\n');
        teller.gone = true;
    }
    teller.gone = teller.gone || teller.line.size() > kMaxLineBytes;
}

} // namespace sim
