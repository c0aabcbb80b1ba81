// A connection to the store for commands: opened on demand, renewed when lost, every command
// bounded in time.
//
// For every command that does not say otherwise:
//   words    sent as they are: nothing is quoted or split
//   time     at most kStoreTimeout each for connecting and for the command
//   throws   StoreUnreachable, and StoreRefused for an error reply; the connection stays usable
//   retries  none: a connection that the server closed meanwhile is renewed before sending, but a
//            command that was sent is never repeated
#pragma once

#include "client/wire.h"

#include <map>
#include <memory>

namespace client {

// How long connecting, and how long one command, may take.
inline constexpr std::chrono::milliseconds kStoreTimeout = redis::kTimeout;

// One thread at a time: each has a connection of its own.
class StoreConnection {
public:
    explicit StoreConnection(Address address);

    const Address& address() const { return address_; }

    // Returns the reply, which is never an error.
    Reply command(const Words& words);

    // Several commands in one round trip. Returns their replies, error replies among them, which
    // `check` turns into exceptions.
    std::vector<Reply> exchange(std::span<const Words> commands);
    // Throws StoreRefused when the reply to the command is an error.
    void check(const Words& command, const Reply& reply) const;

    // Commands that only read, in one round trip. Returns their replies, none of them an error.
    // Skips the check of the connection, and repeats the commands when it turns out to be lost.
    std::vector<Reply> lookUp(std::span<const Words> commands);

    // As `command`, for one that blocks in the server, such as XREAD. Nothing when no reply came by
    // the deadline. Also throws Stopped (`stop` may be null). Both drop the connection, which ends
    // the command in the server.
    std::optional<Reply> blockingCommand(const Words& words, Deadline deadline, const Stop* stop);

    // HGET; nothing when key or field is missing.
    std::optional<std::string> hashField(const std::string& key, const std::string& field);
    // HGETALL; empty when the key is missing.
    std::map<std::string, std::string> hash(const std::string& key);
    // EXISTS.
    bool exists(const std::string& key);

private:
    Wire& wire();
    // On the open wire. Nothing when no reply came in time; the wire is dropped then.
    std::optional<std::vector<Reply>> roundTrip(std::span<const Words> commands);
    // Unwraps the replies; throws StoreUnreachable when there are none.
    std::vector<Reply> received(std::span<const Words> commands,
                                std::optional<std::vector<Reply>> replies) const;

    Address address_;
    std::unique_ptr<Wire> wire_;
};

// The fields in the reply to HGETALL; empty when it is not a list.
std::map<std::string, std::string> hashIn(const Reply& reply);

// Throws StoreRefused for an error reply, naming server, command and key, with advice on the most
// common errors.
[[noreturn]] void throwRefused(const Address& address, const Words& words,
                               const std::string& error);

} // namespace client
