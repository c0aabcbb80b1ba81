// Password hashes by libcrypt. Both calls take tens of milliseconds and megabytes by design, so
// never on the loop's thread. Any other thread.
#pragma once

#include <string>

namespace redfish {

// A salted yescrypt hash in the format of crypt(5). Throws std::runtime_error on failure.
std::string hashPassword(const std::string& password);

// Whether a password matches a hash of hashPassword(). False for a text that is not a hash.
bool isPasswordOf(const std::string& password, const std::string& hash);

} // namespace redfish
