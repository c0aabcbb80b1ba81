// Where the store listens, as command lines and the environment give it.
#pragma once

#include "redis/address.h"

#include <string>

namespace client {

using redis::Address;

// As redis::parseAddress, but throws InvalidArgument with the text and the forms to use instead.
Address parseAddress(const std::string& text);

// Parses `given`; where that is empty, OSSEL_REDIS; without that, the socket of Debian's
// redis-server. Throws InvalidArgument. Main thread: it reads the environment.
Address chooseAddress(const std::string& given = {});

} // namespace client
