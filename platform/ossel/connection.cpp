#include "platform/ossel/connection.h"

#include "platform/ossel/complaints.h"
#include "text.h"

#include <utility>

namespace ossel {

namespace {

// What the library keeps for a handle, in the place that hiredis's reader has for its user's data.
struct State {
    redis::Address address;
    redis::Connection connection;
};

State& stateOf(redisContext& context) {
    return *static_cast<State*>(context.reader->privdata);
}

bool open(State& state) {
    if (state.connection.open(state.address, redis::Clock::now() + redis::kTimeout)) {
        return true;
    }
    const std::string address = state.address.text();
    complainOfOutage(address,
                     "cannot reach redis at " + address + ": " + state.connection.reason());
    return false;
}

// What hiredis had read of a reply belongs to the old socket.
void renewReader(redisContext& context) {
    if (redisReader* const fresh = ::redisReaderCreate(); fresh != nullptr) {
        fresh->privdata = context.reader->privdata;
        ::redisReaderFree(context.reader);
        context.reader = fresh;
    }
}

} // namespace

void Disconnect::operator()(redisContext* context) const noexcept {
    const std::unique_ptr<State> state(&stateOf(*context));
    context->fd = -1; // closed by its owner, the state
    ::redisFree(context);
}

Context openContext(const redis::Address& address) {
    auto state = std::make_unique<State>();
    state->address = address;
    if (!open(*state)) {
        return nullptr;
    }
    redisContext* const handle = ::redisConnectFd(state->connection.descriptor());
    if (handle == nullptr) {
        throw std::bad_alloc();
    }
    handle->reader->privdata = state.release();
    return Context(handle);
}

redis::Connection& connectionOf(redisContext& context) {
    return stateOf(context).connection;
}

void updateHandle(redisContext& context) noexcept {
    const redis::Connection& connection = connectionOf(context);
    context.fd = connection.descriptor();
    context.err = connection.isOpen() ? 0 : REDIS_ERR_OTHER;
    copyBounded(context.errstr, connection.reason());
}

bool reconnect(redisContext& context) {
    renewReader(context);
    const bool isOpen = open(stateOf(context));
    updateHandle(context);
    return isOpen;
}

bool makeReady(redisContext& context) {
    // An error of hiredis, its own time-out for instance, may leave a reply due on the socket.
    return (context.err == 0 && connectionOf(context).isQuiet()) || reconnect(context);
}

void complainOfLoss(redisContext& context) {
    const State& state = stateOf(context);
    const std::string address = state.address.text();
    complainOfOutage(address, "lost redis at " + address + ": " + state.connection.reason());
}

} // namespace ossel
