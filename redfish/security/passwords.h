// Password hashes. Both calls take tens of milliseconds and megabytes on purpose: never on
// the thread of the connections.
#pragma once

#include <string>

namespace redfish {

// A salted yescrypt hash as crypt(5) writes it. Throws std::runtime_error. Any thread.
std::string hashPassword(const std::string& password);

// False also for a hash that is not one. Any thread.
bool isPasswordOf(const std::string& password, const std::string& hash);

} // namespace redfish
