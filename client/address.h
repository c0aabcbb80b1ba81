// Where the store listens, and how that is written. Connecting is done by client/wire.h.
#pragma once

#include <string>

namespace client {

struct Address {
    std::string path; // of a unix socket; empty: TCP
    std::string host;
    int port = 0;

    // As it is written: "unix:PATH" or "tcp:HOST:PORT".
    std::string text() const;
};

// Reads "unix:PATH" or "tcp:HOST:PORT"; an IPv6 host may stand in brackets.
// Throws InvalidArgument.
Address parseAddress(const std::string& text);

// `given`, or where that is empty what OSSEL_REDIS says, or the socket of Debian's
// redis-server. Throws InvalidArgument. Main thread: it reads the environment.
Address chooseAddress(const std::string& given = {});

} // namespace client
