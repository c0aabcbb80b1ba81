// Opens, checks and re-opens connections with hiredis 0.14, and makes up for what that
// version leaves undone. Which commands may be repeated is left to exchange.cpp.
#include "platform/ossel/connection.h"

#include "credentials/redis_credentials.h"
#include "platform/ossel/complaints.h"
#include "text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

namespace ossel {

namespace {

// What a server accepts in one command; more elements than that are no honest reply. hiredis
// ends the process when it cannot allocate the array that a reply announces.
constexpr int kMaxReplyElements = 1024 * 1024;

redisReplyObjectFunctions* ownersFunctions = nullptr;

void* createBoundedArray(const redisReadTask* task, int elements) {
    return elements > kMaxReplyElements ? nullptr : ownersFunctions->createArray(task, elements);
}

redisReplyObjectFunctions* boundedFunctions(redisReplyObjectFunctions* defaults) {
    static redisReplyObjectFunctions functions = [defaults] {
        ownersFunctions = defaults;
        redisReplyObjectFunctions copy = *defaults;
        copy.createArray = createBoundedArray;
        return copy;
    }();
    return &functions;
}

timeval asTimeval(std::chrono::duration<time_t> seconds) {
    return {seconds.count(), 0};
}

// hiredis takes descriptor 0 for none and lets programs that are started inherit the rest.
bool moveDescriptor(redisContext& context) {
    constexpr int kAboveStandardStreams = 3;
    const int moved = ::fcntl(context.fd, F_DUPFD_CLOEXEC, kAboveStandardStreams);
    if (moved < 0) {
        return false;
    }
    ::close(context.fd);
    context.fd = moved;
    return true;
}

// As a user of the store, where one is named; first of all on each new connection.
bool authenticate(redisContext& context) {
    const redis_credentials::Credentials credentials = redis_credentials::read();
    if (!credentials.problem.empty()) {
        putInError(context, credentials.problem.c_str());
        return false;
    }
    if (!credentials.areGiven()) {
        return true;
    }
    std::array<const char*, 3> words{"AUTH", credentials.user.c_str(),
                                     credentials.password.c_str()};
    const std::array<std::size_t, 3> lengths{4, credentials.user.size(),
                                             credentials.password.size()};
    const std::unique_ptr<void, decltype(&freeReplyObject)> reply(
        redisCommandArgv(&context, static_cast<int>(words.size()), words.data(), lengths.data()),
        freeReplyObject);
    if (reply == nullptr) {
        return false;
    }
    const auto& answer = *static_cast<const redisReply*>(reply.get());
    if (answer.type == REDIS_REPLY_STATUS) {
        return true;
    }
    const std::string_view text =
        answer.str == nullptr ? std::string_view() : std::string_view(answer.str, answer.len);
    putInError(context, redis_credentials::refusal(text).c_str());
    return false;
}

// What a context needs after each connect; hiredis keeps none of it over a reconnect.
bool equip(redisContext& context) {
    if (context.obuf == nullptr || context.reader == nullptr) {
        putInError(context, "out of memory");
        return false;
    }
    context.reader->fn = boundedFunctions(context.reader->fn);
    if (!moveDescriptor(context)) {
        putInError(context, "no descriptor left");
        return false;
    }
    return redisSetTimeout(&context, asTimeval(kCommandTimeout)) == REDIS_OK &&
           (context.connection_type != REDIS_CONN_TCP ||
            redisEnableKeepAlive(&context) == REDIS_OK) &&
           authenticate(context);
}

void complainOfUnreachable(const redisContext& context) {
    const std::string address = addressText(context);
    complainOfOutage(address, "cannot reach redis at " + address + ": " + context.errstr);
}

// True when the connection stands and nothing waits in it to be read.
bool isQuiet(const redisContext& context) {
    char byte = 0;
    const ssize_t waiting = ::recv(context.fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return waiting < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
}

} // namespace

void Disconnect::operator()(redisContext* context) const noexcept {
    redisFree(context);
}

Connection openConnection(const Address& address) {
    const timeval timeout = asTimeval(kConnectTimeout);
    Connection connection(address.path.empty()
                              ? redisConnectWithTimeout(address.host.c_str(), address.port, timeout)
                              : redisConnectUnixWithTimeout(address.path.c_str(), timeout));
    if (connection == nullptr) {
        complainNowAndThen("cannot reach redis: out of memory");
        return nullptr;
    }
    if (connection->err != 0 || !equip(*connection)) {
        complainOfUnreachable(*connection);
        return nullptr;
    }
    return connection;
}

bool makeReady(redisContext& context) {
    return (context.err == 0 && isQuiet(context)) || reconnect(context);
}

bool reconnect(redisContext& context) {
    // hiredis keeps the number of a descriptor that it closed and would close it once more,
    // by then perhaps another thread's, when the next attempt ends early.
    if (context.fd > 0) {
        ::close(context.fd);
    }
    context.fd = -1;
    if (redisReconnect(&context) == REDIS_OK && equip(context)) {
        return true;
    }
    complainOfUnreachable(context);
    return false;
}

void putInError(redisContext& context, const char* reason, int kind) noexcept {
    context.err = kind;
    copyBounded(context.errstr, reason);
}

void complainOfLoss(const redisContext& context) {
    const std::string address = addressText(context);
    complainOfOutage(address, "lost redis at " + address + ": " + context.errstr);
}

} // namespace ossel
