#include "platform/ossel/exchange.h"

#include "platform/ossel/complaints.h"

#include <algorithm>
#include <new>
#include <string>
#include <vector>

namespace ossel {

namespace {

using redis::Connection;
using redis::Failure;

bool attempt(Connection& connection, std::span<const Command> commands, std::span<Reply> replies) {
    const redis::Deadline deadline = redis::Clock::now() + redis::kTimeout;
    try {
        for (const Command command : commands) {
            connection.append(command);
        }
        return connection.send(deadline) &&
               std::all_of(replies.begin(), replies.end(),
                           [&](Reply& reply) { return connection.await(reply, deadline); }) &&
               (!connection.hasLeftover() ||
                connection.fail(Failure::nonsense, "more was answered than asked"));
    } catch (const std::bad_alloc&) {
        connection.close(); // commands may be unsent, or replies due
        throw;
    }
}

// "HGET some-key: " and what is wrong.
void complainOfReply(Command command, std::string_view what) {
    std::string line(command.front());
    // EVAL has its script and the number of keys before the key.
    const std::size_t keyPosition = line == "EVAL" ? 3 : 1;
    if (keyPosition < command.size() && !command[keyPosition].empty()) {
        line.append(" ").append(command[keyPosition]);
    }
    complainNowAndThen(line.append(": ").append(what));
}

void complainOfUnwanted(redisContext& context, Command command, const Reply& reply) {
    if (reply.isError()) {
        complainOfReply(command, reply.text);
        return;
    }
    connectionOf(context).fail(Failure::nonsense, "a reply of an unexpected type");
    updateHandle(context);
    complainOfReply(command, connectionOf(context).reason());
}

bool isOneOf(std::initializer_list<Reply::Kind> kinds, const Reply& reply) {
    return std::find(kinds.begin(), kinds.end(), reply.kind) != kinds.end() &&
           std::all_of(reply.elements.begin(), reply.elements.end(),
                       [](const Reply& each) { return each.kind == Reply::Kind::text; });
}

} // namespace

bool exchange(redisContext& context, std::span<const Command> commands, std::span<Reply> replies,
              Repeat repeat) {
    if (!makeReady(context)) {
        return false;
    }
    Connection& connection = connectionOf(context);
    bool isDone = attempt(connection, commands, replies);
    // A server that is merely silent is not asked twice.
    if (!isDone && repeat == Repeat::harmless && connection.failure() == Failure::lost) {
        isDone = reconnect(context) && attempt(connection, commands, replies);
    }
    if (!isDone) {
        updateHandle(context);
        complainOfLoss(context);
        return false;
    }
    outageIsOver();
    return true;
}

Reply ask(redisContext& context, Command command, std::initializer_list<Reply::Kind> kinds,
          Repeat repeat) {
    Reply reply;
    const bool isGood = exchange(context, {&command, 1}, {&reply, 1}, repeat) &&
                        isWanted(context, command, reply, kinds);
    return isGood ? std::move(reply) : Reply();
}

Reply askAllowingWrongKind(redisContext& context, Command command,
                           std::initializer_list<Reply::Kind> kinds, Repeat repeat) {
    Reply reply;
    const bool isGood = exchange(context, {&command, 1}, {&reply, 1}, repeat) &&
                        (isWrongKind(reply) || isWanted(context, command, reply, kinds));
    return isGood ? std::move(reply) : Reply();
}

bool isWrongKind(const Reply& reply) {
    return reply.isError() && reply.text.starts_with("WRONGTYPE");
}

bool isWanted(redisContext& context, Command command, const Reply& reply,
              std::initializer_list<Reply::Kind> kinds) {
    if (isOneOf(kinds, reply)) {
        return true;
    }
    complainOfUnwanted(context, command, reply);
    return false;
}

bool runTransaction(redisContext& context, std::span<const Command> commands, Repeat repeat) {
    const ShortCommand<1> multi{"MULTI"};
    const ShortCommand<1> exec{"EXEC"};
    std::vector<Command> all;
    all.reserve(commands.size() + 2);
    all.push_back(multi);
    all.insert(all.end(), commands.begin(), commands.end());
    all.push_back(exec);

    std::vector<Reply> replies(all.size());
    if (!exchange(context, all, replies, repeat)) {
        return false;
    }
    // MULTI is answered OK and each command QUEUED; one refusal here spoils the whole.
    for (std::size_t i = 0; i + 1 < all.size(); ++i) {
        if (!isWanted(context, all[i], replies[i], {Reply::Kind::status})) {
            return false;
        }
    }
    const Reply& results = replies.back();
    if (results.kind != Reply::Kind::list || results.elements.size() != commands.size()) {
        complainOfUnwanted(context, all.back(), results);
        return false;
    }
    for (std::size_t i = 0; i < commands.size(); ++i) {
        if (results.elements[i].isError()) {
            complainOfReply(commands[i], results.elements[i].text);
            return false;
        }
    }
    return true;
}

} // namespace ossel
