// The server's thread, for all its clients. Where an answer ends it asks the reader that the
// clients use, too.
#include "tests/fuzz/reply_server.h"

#include <array>
#include <hiredis/hiredis.h>
#include <limits>
#include <linux/sockios.h>
#include <memory>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fuzz {

namespace {

// As the client's own: hiredis ends the process when it cannot allocate what an array announces.
constexpr int kMaxElements = 1024 * 1024;

redisReplyObjectFunctions* g_defaults = nullptr;

void* createBoundedArray(const redisReadTask* task, int elements) {
    return elements > kMaxElements ? nullptr : g_defaults->createArray(task, elements);
}

redisReplyObjectFunctions* boundedFunctions(redisReplyObjectFunctions* defaults) {
    static redisReplyObjectFunctions functions = [defaults] {
        g_defaults = defaults;
        redisReplyObjectFunctions copy = *defaults;
        copy.createArray = createBoundedArray;
        return copy;
    }();
    return &functions;
}

struct FreeReader {
    void operator()(redisReader* reader) const noexcept { redisReaderFree(reader); }
};

// How many whole replies the bytes begin with. More than can be asked for where they are no
// replies at all: a client that reads that far waits for nothing.
std::size_t wholeReplies(std::string_view bytes) {
    const std::unique_ptr<redisReader, FreeReader> reader(redisReaderCreate());
    reader->fn = boundedFunctions(reader->fn);
    redisReaderFeed(reader.get(), bytes.data(), bytes.size());
    for (std::size_t count = 0;; ++count) {
        void* reply = nullptr;
        if (redisReaderGetReply(reader.get(), &reply) != REDIS_OK) {
            return std::numeric_limits<std::size_t>::max();
        }
        if (reply == nullptr) {
            return count;
        }
        freeReplyObject(reply);
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
