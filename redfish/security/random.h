// Random numbers for secrets. Any thread. Every call throws std::runtime_error if the system has no
// randomness to give.
#pragma once

#include "redfish/crypto/digest.h"

#include <string>

namespace redfish {

// `bytes` random bytes as hexadecimal digits.
std::string randomHex(std::size_t bytes);

// A password for people to type: 16 letters and digits, 93 bits, none of which look alike.
std::string randomPassword();

// A key for hmacSha256().
Digest randomKey();

} // namespace redfish
