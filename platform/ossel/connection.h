// A context of the object-store client: a connection to the store that is re-established when it
// is needed again after a break. One thread at a time for each.
//
// The handle that callers hold is a context of hiredis, on the very socket that this library
// speaks over: between two calls of the library they may use hiredis on it. The library itself
// sends and receives through redis/, whose deadlines and limits hiredis does not have.
#pragma once

#include "redis/connection.h"

#include <hiredis/hiredis.h>
#include <memory>

namespace ossel {

struct Disconnect {
    void operator()(redisContext* context) const noexcept;
};
using Context = std::unique_ptr<redisContext, Disconnect>;

// A new context, connected but not yet known to be served. Null on failure, which is logged.
Context openContext(const redis::Address& address);

// The connection of a context that openContext made. Whoever opens or closes it calls
// updateHandle afterwards.
redis::Connection& connectionOf(redisContext& context);

// Has the handle show the state of its connection: descriptor, and error with its reason.
void updateHandle(redisContext& context) noexcept;

// Makes the connection fit for the next command: re-establishes it when it is closed, when the
// server hung up, or when something nobody asked for lies in it. Harmless for every command, since
// nothing of it was sent yet. False: the server cannot be reached, which is logged.
bool makeReady(redisContext& context);

// Closes the connection and opens it again. False as for makeReady.
bool reconnect(redisContext& context);

// Logs that an established connection was lost, with its reason.
void complainOfLoss(redisContext& context);

} // namespace ossel
