// osselRedisConnect and osselRedisDisconnect, and the register of the first connection. The
// connection as such is left to connection.cpp.
#include "platform/ossel.h"

#include "platform/ossel/boundary.h"
#include "platform/ossel/complaints.h"
#include "platform/ossel/connection.h"
#include "platform/ossel/exchange.h"
#include "platform/ossel/first_connection.h"

#include <csignal>
#include <cstdlib>
#include <mutex>
#include <string>

namespace ossel {

namespace {

// Guards the two below.
std::mutex registerMutex;
redisContext* firstConnection = nullptr;
std::size_t openConnections = 0;

// A server that goes away in mid-write is a failed call, not the end of the process. A
// handler of the process's own is left in place.
void ignoreBrokenPipes() {
    struct sigaction current {};
    if (::sigaction(SIGPIPE, nullptr, &current) == 0 && current.sa_handler == SIG_DFL) {
        struct sigaction ignore {};
        ignore.sa_handler = SIG_IGN;
        ::sigaction(SIGPIPE, &ignore, nullptr);
    }
}

std::optional<Address> configuredAddress() {
    const char* const variable = std::getenv(kAddressVariable);
    const std::string text = variable == nullptr ? kDefaultAddress : variable;
    std::optional<Address> address = parseAddress(text);
    if (!address) {
        complain(std::string(kAddressVariable) + " is \"" + text +
                 "\"; allowed are unix:PATH and tcp:HOST:PORT");
    }
    return address;
}

// A server that is at its limit of connections, wants a password or hangs accepts the
// connection nevertheless: only an answer shows that it serves us.
bool isServed(redisContext& context) {
    ShortCommand ping{"PING"};
    return bool(ask(context, ping, {REDIS_REPLY_STATUS}, Repeat::harmless));
}

redisContext* connect() {
    static std::once_flag once;
    std::call_once(once, ignoreBrokenPipes);
    const std::optional<Address> address = configuredAddress();
    if (!address) {
        return nullptr;
    }
    Connection connection = openConnection(*address);
    if (connection == nullptr || !isServed(*connection)) {
        return nullptr;
    }
    enterConnection(connection.get());
    return connection.release();
}

} // namespace

void enterConnection(redisContext* context) {
    const std::lock_guard lock(registerMutex);
    if (openConnections++ == 0) {
        firstConnection = context;
    }
}

void leaveConnection(const redisContext* context) {
    const std::lock_guard lock(registerMutex);
    --openConnections;
    if (firstConnection == context) {
        firstConnection = nullptr;
    }
}

bool withFirstConnection(const std::function<void(redisContext&)>& body) {
    const std::lock_guard lock(registerMutex);
    if (firstConnection == nullptr) {
        return false;
    }
    body(*firstConnection);
    return true;
}

} // namespace ossel

redisContext* osselRedisConnect(void) {
    return ossel::atBoundary<redisContext*>(nullptr, ossel::connect);
}

void osselRedisDisconnect(redisContext* context) {
    ossel::resultCode([context] {
        const ossel::Connection closing(context);
        if (closing != nullptr) {
            ossel::leaveConnection(context);
        }
        return true;
    });
}
