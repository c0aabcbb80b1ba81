// Every call of the object-store client, each with bounded arguments and checks of its contract.
#pragma once

#include <span>

struct redisContext;

namespace fuzz {

// Makes one call and checks its results.
using OsselCall = void (*)(redisContext* context);

// All but osselRedisConnect and osselRedisDisconnect.
std::span<const OsselCall> osselCalls();

} // namespace fuzz
