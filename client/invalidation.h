// Reports that keys of the store may have changed, whoever changed them: lets a copy of their
// contents be kept. Uses the server's tracking of key prefixes with two connections: one asks for
// the tracking, the other receives the invalidation messages.
#pragma once

#include "client/wire.h"

namespace client {

// Not for two threads at once.
class Invalidations {
public:
    // Covers every key that begins with one of the prefixes, from the return of the constructor on.
    // Throws StoreUnreachable, StoreRefused.
    Invalidations(const Address& address, const std::vector<std::string>& prefixes);

    // Whether any of the keys may have changed since the last call, not which; waits up to the
    // deadline. Throws StoreUnreachable when either connection is lost: changes may have been
    // missed then, and a new object is needed. Throws Stopped (`stop` may be null).
    bool next(Deadline deadline, const Stop* stop);

private:
    Reply ask(Wire& wire, const Words& words);

    std::string name_;
    Wire news_;
    Wire tracker_;
};

} // namespace client
