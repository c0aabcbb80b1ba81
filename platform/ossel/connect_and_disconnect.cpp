// osselRedisConnect and osselRedisDisconnect, and the register of the first connection.
#include "platform/ossel.h"

#include "platform/ossel/boundary.h"
#include "platform/ossel/complaints.h"
#include "platform/ossel/connection.h"
#include "platform/ossel/exchange.h"
#include "platform/ossel/first_connection.h"

#include <csignal>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace ossel {

namespace {

// Guards the two below.
std::mutex registerMutex;
redisContext* firstConnection = nullptr;
std::size_t openConnections = 0;

// Sending never raises SIGPIPE, but callers count on its being ignored from the first connect on.
// A handler of the process's own is left in place.
void ignoreBrokenPipes() {
    struct sigaction current {};
    if (::sigaction(SIGPIPE, nullptr, &current) == 0 && current.sa_handler == SIG_DFL) {
        struct sigaction ignore {};
        ignore.sa_handler = SIG_IGN;
        ::sigaction(SIGPIPE, &ignore, nullptr);
    }
}

std::optional<redis::Address> configuredAddress() {
    const std::string text = redis::configuredAddress();
    try {
        return redis::parseAddress(text);
    } catch (const redis::InvalidAddress&) {
        complain(std::string(redis::kAddressVariable) + " is \"" + text +
                 "\"; allowed are unix:PATH and tcp:HOST:PORT");
        return std::nullopt;
    }
}

// A server at its limit of clients, one that wants a password and one that hangs still accept
// connections: only an answer proves that it serves us.
bool isServed(redisContext& context) {
    const ShortCommand ping{"PING"};
    return bool(ask(context, ping, {Reply::Kind::status}, Repeat::harmless));
}

redisContext* connect() {
    static std::once_flag once;
    std::call_once(once, ignoreBrokenPipes);
    const std::optional<redis::Address> address = configuredAddress();
    if (!address) {
        return nullptr;
    }
    Context context = openContext(*address);
    if (context == nullptr || !isServed(*context)) {
        return nullptr;
    }
    enterConnection(context.get());
    return context.release();
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
        const ossel::Context closing(context);
        if (closing != nullptr) {
            ossel::leaveConnection(context);
        }
        return true;
    });
}
