// A context of the object-store client: a connection to the store that is re-established when it
// is needed again after a break. One thread at a time for each.
#pragma once

#include "redis/connection.h"

#include <memory>

// What the public functions hand out, and look into here alone.
struct redisContext {
    redis::Address address;
    redis::Connection connection;
};

namespace ossel {

// A new context, connected but not yet known to be served. Null on failure, which is logged.
std::unique_ptr<redisContext> openContext(const redis::Address& address);

// Makes the connection fit for the next command: re-establishes it when it is closed, when the
// server hung up, or when something nobody asked for lies in it. Harmless for every command, since
// nothing of it was sent yet. False: the server cannot be reached, which is logged.
bool makeReady(redisContext& context);

// Closes the connection and opens it again. False as for makeReady.
bool reconnect(redisContext& context);

// Logs that an established connection was lost, with its reason.
void complainOfLoss(const redisContext& context);

} // namespace ossel
