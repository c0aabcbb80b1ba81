// A connection to the store for commands: made when first needed, renewed when lost,
// every command bounded in time. Subscriptions have a connection of their own
// (client/subscription.h).
#pragma once

#include "client/wire.h"

#include <map>
#include <memory>

namespace client {

// How long connecting, and how long a command, may take.
inline constexpr std::chrono::milliseconds kStoreTimeout = redis::kTimeout;

// Not for two threads at once: each thread has its own.
class StoreConnection {
public:
    explicit StoreConnection(Address address);

    const Address& address() const { return address_; }

    // Sends one command (its words as they are, nothing is quoted or split) and gives its
    // reply, never an error reply. A connection that the server closed since the last
    // command is renewed first; a command that was sent is never repeated.
    // Throws StoreUnreachable, StoreRefused.
    Reply command(const Words& words);

    // Several commands in one round trip and their replies, error replies among them: `check` turns
    // one into an exception. Never repeated, as `command`. Throws StoreUnreachable.
    std::vector<Reply> exchange(std::span<const Words> commands);
    // Throws StoreRefused if the reply to the command is an error.
    void check(const Words& command, const Reply& reply) const;

    // Commands that only read, in one round trip, and their replies, none of them an error. Sent
    // once more where a connection that stood already turns out to be lost. Throws as `command`.
    std::vector<Reply> lookUp(std::span<const Words> commands);

    // The same as `command` for a command that blocks in the server, XREAD for instance: waits up
    // to the deadline, and nothing is the answer then. Throws Stopped too, and the connection is
    // dropped then, which ends the command in the server.
    std::optional<Reply> blockingCommand(const Words& words, Deadline deadline, const Stop* stop);

    // One field of a hash; nothing when key or field is missing.
    std::optional<std::string> hashField(const std::string& key, const std::string& field);
    // A whole hash; empty when the key is missing.
    std::map<std::string, std::string> hash(const std::string& key);
    bool exists(const std::string& key);

private:
    Wire& wire();
    // On the wire that is there. Nothing: no reply in time; the wire is dropped then.
    std::optional<std::vector<Reply>> roundTrip(std::span<const Words> commands);
    // Throws StoreUnreachable for nothing.
    std::vector<Reply> received(std::span<const Words> commands,
                                std::optional<std::vector<Reply>> replies) const;

    Address address_;
    std::unique_ptr<Wire> wire_;
};

// The fields of a hash; empty for a reply that is no list.
std::map<std::string, std::string> hashIn(const Reply& reply);

// What a refused command throws: names server, command and key, and advises. Shared by
// connections and subscriptions.
[[noreturn]] void throwRefused(const Address& address, const Words& words,
                               const std::string& error);

} // namespace client
