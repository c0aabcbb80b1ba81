// One connection to the store: opened, looked at before use, re-established after a break.
// What is sent over it is left to exchange.h.
//
// redisContext is hiredis's own; a context in error (err is not 0) is re-established before
// it is used again. One thread at a time for each connection.
#pragma once

#include "platform/ossel/address.h"

#include <chrono>
#include <hiredis/hiredis.h>
#include <memory>

namespace ossel {

constexpr std::chrono::seconds kConnectTimeout{2};
constexpr std::chrono::seconds kCommandTimeout{2};

struct Disconnect {
    void operator()(redisContext* context) const noexcept;
};
using Connection = std::unique_ptr<redisContext, Disconnect>;

// A new connection, not yet known to be served. Null when it cannot be made, which is said.
Connection openConnection(const Address& address);

// Makes the connection fit for the next command: re-establishes it when it is in error, when
// the server has closed it, or when something lies in it that nobody asked for. Nothing of
// the coming command is sent before, so this is harmless for every command. False when the
// server cannot be reached, which is said.
bool makeReady(redisContext& context);

// Closes the connection and opens it again. False as for makeReady.
bool reconnect(redisContext& context);

// Puts the connection in error, so that whatever still arrives on it is never read.
//   kind   one of REDIS_ERR_...
void putInError(redisContext& context, const char* reason, int kind = REDIS_ERR_OTHER) noexcept;

// Says that an established connection was lost, with the reason that the context holds.
void complainOfLoss(const redisContext& context);

} // namespace ossel
