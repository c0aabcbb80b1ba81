// Where the redis server is. Connecting to it is for connection.h.
#pragma once

#include <string>
#include <string_view>

namespace plugin_host {

struct Address {
    std::string path; // of a unix socket; empty: TCP
    std::string host;
    int port = 0;

    bool isKnown() const { return !path.empty() || port != 0; }
};

// Reads `unix:PATH` or `tcp:HOST:PORT`, an IPv6 address in brackets; the object-store client
// reads OSSEL_REDIS alike. Any other text gives an address that is not known.
Address parseAddress(std::string_view text);

} // namespace plugin_host
