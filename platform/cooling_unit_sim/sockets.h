// The sockets that the simulator opens.
#pragma once

#include "descriptor.h"
#include "platform/cooling/unit_address.h"

#include <string>

namespace sim {

// All of these throw std::system_error, whose text names what failed. Listening sockets do not
// block.
Descriptor listenTcp(const cooling::UnitAddress& address);
Descriptor listenUnix(const std::string& path); // replaces a socket that nobody serves
Descriptor connectUnix(const std::string& path);

// "127.0.0.1:1502" or "[::1]:1502": the address of a socket's own end, or of its peer.
std::string ownAddress(const Descriptor& socket);
std::string peerAddress(const Descriptor& socket);

} // namespace sim
