// Random numbers for secrets, digests, and comparisons that take the same time however much
// is equal.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace redfish {

using Digest = std::array<unsigned char, 32>;

// `bytes` random bytes as hexadecimal digits. Throws std::runtime_error where the system has
// no randomness to give.
std::string randomHex(std::size_t bytes);
// Letters and digits that no two of look alike, 93 bits: for people to type.
std::string randomPassword();

Digest sha256(std::string_view text);
Digest hmacSha256(const Digest& key, std::string_view text);
Digest randomKey();

// The first 16 bytes as hexadecimal digits: what an ETag is made of.
std::string shortHex(const Digest& digest);

bool isEqualInConstantTime(std::string_view one, std::string_view other);

// Nothing but the alphabet of base64, padded or not; empty on anything else.
std::string base64Decode(std::string_view text);

} // namespace redfish
