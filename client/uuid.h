// Names that nobody else chooses.
#pragma once

#include <string>

namespace client {

// A random UUID (version 4): 36 characters. Any thread.
std::string makeUuid();

} // namespace client
