// The connection that the process opened first: the schema look-ups carry no context of their
// own and work on it. Its owner is the caller of osselRedisConnect.
#pragma once

#include <functional>

struct redisContext;

namespace ossel {

// Enters a connection that was just opened. It is the first one when no other is open.
void enterConnection(redisContext* context);

// Strikes out a connection that is about to be closed. Later ones do not take the first
// one's place while others are open.
void leaveConnection(const redisContext* context);

// Calls the body with the first connection, which cannot be closed meanwhile. False when
// there is none. Any thread, but the connection serves one at a time, as always.
bool withFirstConnection(const std::function<void(redisContext&)>& body);

} // namespace ossel
