// Tells which keys of the store have been changed, by anyone, from the moment on at which it
// was made: what keeps a copy of the store's contents true. Uses the server's own tracking of
// key prefixes, with two connections: one that asks for it, one on which the news come.
#pragma once

#include "client/wire.h"

namespace client {

// Not for two threads at once.
class Invalidations {
public:
    // Tells of every key that begins with one of the prefixes. Throws StoreUnreachable,
    // StoreRefused.
    Invalidations(const Address& address, const std::vector<std::string>& prefixes);

    // Whether one of the keys may have changed since the last call; waits for it up to the
    // deadline. Throws StoreUnreachable when one of the connections is lost: whatever was
    // changed since is unknown then, and a new one has to be made. Throws Stopped (`stop` may
    // be null).
    bool next(Deadline deadline, const Stop* stop);

private:
    Reply ask(Wire& wire, const Words& words);

    std::string name_;
    Wire news_;
    Wire tracker_;
};

} // namespace client
