// One thread serves all clients. The reader that the clients use tells where a request or an answer
// ends.
#include "tests/fuzz/reply_server.h"

#include "redis/reply_reader.h"

#include <array>
#include <limits>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fuzz {

namespace {

// How many whole replies the bytes begin with. The maximum when they are nonsense: a client that
// reads that far does not wait for more.
std::size_t wholeReplies(std::string_view bytes) {
    redis::ReplyReader reader;
    redis::Reply reply;
    for (std::size_t count = 0;;) {
        switch (reader.next(reply)) {
        case redis::ReplyReader::Found::nonsense:
            return std::numeric_limits<std::size_t>::max();
        case redis::ReplyReader::Found::reply:
            ++count;
            break;
        case redis::ReplyReader::Found::incomplete:
            if (bytes.empty()) {
                return count;
            }
            const std::span<char> room = reader.room();
            const std::size_t fed = bytes.copy(room.data(), room.size());
            reader.added(fed);
            bytes.remove_prefix(fed);
        }
    }
}

// The client has read all that was sent to it, or is gone.
void waitUntilRead(int client) {
    int unread = 1;
    while (::ioctl(client, SIOCOUTQ, &unread) == 0 && unread > 0) {
        pollfd hangUp{client, POLLRDHUP, 0};
        if (::poll(&hangUp, 1, 0) != 0) {
            return;
        }
        std::this_thread::yield();
    }
}

bool sendAll(int client, std::string_view bytes) {
    return ::send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
}

bool isPing(const std::string& request) {
    return request == "*1\r\n$4\r\nPING\r\n";
}

} // namespace

ReplyServer::ReplyServer() {
    thread_ = std::thread([this] { serve(); });
}

ReplyServer::~ReplyServer() {
    listener_.stop();
    thread_.join();
}

void ReplyServer::answer(Answer answer) {
    const std::lock_guard lock(mutex_);
    answer_ = std::move(answer);
}

void ReplyServer::serve() {
    std::vector<Client> clients;
    std::vector<pollfd> waited;
    do {
        for (std::size_t i = clients.size(); i-- > 0;) {
            if (i + 2 < waited.size() && waited[i + 2].revents != 0 && !serveClient(clients[i])) {
                ::close(clients[i].descriptor);
                clients.erase(clients.begin() + static_cast<std::ptrdiff_t>(i));
            }
        }
        if (!waited.empty() && waited[1].revents != 0) {
            clients.push_back({listener_.accept(), ""});
        }
        waited = {{listener_.stopping(), POLLIN, 0}, {listener_.descriptor(), POLLIN, 0}};
        for (const Client& client : clients) {
            waited.push_back({client.descriptor, POLLIN, 0});
        }
    } while (::poll(waited.data(), waited.size(), -1) > 0 && waited[0].revents == 0);
    for (const Client& client : clients) {
        ::close(client.descriptor);
    }
}

ReplyServer::Answer ReplyServer::answerTo(const std::string& request) const {
    const std::lock_guard lock(mutex_);
    if (isPing(request) && !answer_.toPing) {
        return {"+PONG\r\n"};
    }
    return answer_;
}

// False: the connection is to be closed.
bool ReplyServer::serveClient(Client& client) const {
    std::array<char, 16384> buffer; // a request arrives in one piece
    const ssize_t length = ::recv(client.descriptor, buffer.data(), buffer.size(), 0);
    if (length <= 0) {
        return false;
    }
    client.request.append(buffer.data(), static_cast<std::size_t>(length));
    const std::size_t asked = wholeReplies(client.request); // commands have the form of replies
    if (asked == 0) {
        return true;
    }
    const Answer answer = answerTo(std::exchange(client.request, {}));
    const std::string_view bytes = answer.bytes;
    std::string_view first = bytes.substr(0, answer.inPieces ? bytes.size() / 2 : 0);
    if (wholeReplies(first) >= asked) {
        first = {};
    }
    if (!sendAll(client.descriptor, first)) {
        return false;
    }
    waitUntilRead(client.descriptor);
    if (!sendAll(client.descriptor, bytes.substr(first.size())) || answer.closes) {
        return false;
    }
    if (wholeReplies(bytes) < asked) {
        ::shutdown(client.descriptor, SHUT_WR); // the client's next read ends at once
    }
    return true;
}

} // namespace fuzz
