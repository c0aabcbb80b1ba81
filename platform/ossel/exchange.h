// Sends commands and reads their replies: one round trip for each call of these functions,
// however many commands it carries. What the replies mean is left to the callers.
//
// What goes wrong is said on standard error here, so that callers only pass it on.
#pragma once

#include "platform/ossel/command.h"
#include "platform/ossel/reply.h"

#include <initializer_list>
#include <span>

namespace ossel {

// Whether a command may be sent once more when the connection broke before its reply came:
// then nobody knows whether the server has run it.
enum class Repeat { harmless, never };

// Sends all commands in one go and reads as many replies, in order. False when they did not
// all arrive; whether an error is among them is not looked at. Ends after kCommandTimeout at
// the latest when the server is silent.
bool exchange(redisContext& context, std::span<const Command> commands, std::span<Reply> replies,
              Repeat repeat);

// One command whose reply must be of one of these types: REDIS_REPLY_..., an array being one of
// texts. None for any other reply, for an error and for no reply.
Reply ask(redisContext& context, Command command, std::initializer_list<int> types, Repeat repeat);

// As `ask`, for callers to whom a key of another kind is an everyday answer: the server's
// error to that effect is not said but comes back as the reply.
Reply askAllowingWrongKind(redisContext& context, Command command, std::initializer_list<int> types,
                           Repeat repeat);
bool isWrongKind(const Reply& reply);

// Looks at a reply of `exchange` as `ask` does. The connection is re-established before the next
// command when the reply is of a type that this command never gives.
bool isWanted(redisContext& context, Command command, const Reply& reply,
              std::initializer_list<int> types);

// The commands between MULTI and EXEC: all of them run, with nothing in between, or none.
// False when one was refused.
bool runTransaction(redisContext& context, std::span<const Command> commands, Repeat repeat);

} // namespace ossel
