// Sends commands and reads their replies: one round trip for each call, however many commands it
// carries.
//
// For every function:
//   errors   logged here; callers only pass them on
//   time     each attempt takes at most redis::kTimeout, sending and receiving together
//   threads  any; one at a time for a context
#pragma once

#include "platform/ossel/connection.h"

#include <initializer_list>
#include <span>

namespace ossel {

using redis::Command;
using redis::LongCommand;
using redis::Reply;
using redis::ShortCommand;

// Whether a command may be sent again when the connection broke before its reply came: nobody
// knows then whether the server ran it.
enum class Repeat { harmless, never };

// Sends all commands in one go and reads as many replies, in order. False when they did not all
// arrive. Error replies count as replies; see isWanted.
bool exchange(redisContext& context, std::span<const Command> commands, std::span<Reply> replies,
              Repeat repeat);

// One command whose reply must be of one of these kinds, a list being one of texts. An empty Reply
// for any other reply, for an error and for no reply.
Reply ask(redisContext& context, Command command, std::initializer_list<Reply::Kind> kinds,
          Repeat repeat);

// As `ask`, for callers that expect a key of another kind: the server's error to that effect is
// not logged but returned, and isWrongKind recognises it.
Reply askAllowingWrongKind(redisContext& context, Command command,
                           std::initializer_list<Reply::Kind> kinds, Repeat repeat);
bool isWrongKind(const Reply& reply);

// Checks a reply of `exchange` as `ask` does. A reply of a kind that the command never gives also
// closes the connection, which is out of step then.
bool isWanted(redisContext& context, Command command, const Reply& reply,
              std::initializer_list<Reply::Kind> kinds);

// Runs the commands between MULTI and EXEC: all of them with nothing in between, or none. False
// when one was refused.
bool runTransaction(redisContext& context, std::span<const Command> commands, Repeat repeat);

} // namespace ossel
