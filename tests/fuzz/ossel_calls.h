// Every call of the object-store client, each with bounded arguments and the checks of its own
// contract. What the server answers is left to redis_reply_fuzz.cpp.
#pragma once

#include <span>

struct redisContext;

namespace fuzz {

// Makes one call and checks what it hands back.
using OsselCall = void (*)(redisContext* context);

// All but osselRedisConnect and osselRedisDisconnect.
std::span<const OsselCall> osselCalls();

} // namespace fuzz
