// The connection that the process opened first, on which look-ups without a context work. The
// caller of osselRedisConnect owns it.
#pragma once

#include <functional>

struct redisContext;

namespace ossel {

// Registers a connection that was just opened. It becomes the first one when no other is open.
void enterConnection(redisContext* context);

// Removes a connection that is about to be closed. When it was the first one, none of the others
// takes its place.
void leaveConnection(const redisContext* context);

// Calls the body with the first connection, which cannot be closed meanwhile. False when there is
// none. Any thread, but as every connection it serves one at a time.
bool withFirstConnection(const std::function<void(redisContext&)>& body);

} // namespace ossel
