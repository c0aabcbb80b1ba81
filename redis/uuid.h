// Random names that nobody else chooses.
#pragma once

#include <array>
#include <string>

namespace redis {

inline constexpr std::size_t kUuidCharacters = 36;

// A random UUID, version 4, in lower case and NUL-terminated. Throws std::system_error when the
// system has no random numbers. Any thread.
std::array<char, kUuidCharacters + 1> randomUuid();

// The same as a string.
std::string makeUuid();

} // namespace redis
