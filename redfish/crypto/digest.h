// Digests by OpenSSL, and the comparison that secrets need. Any thread; nothing here fails.
#pragma once

#include <array>
#include <string_view>

namespace redfish {

// A SHA-256 digest, or a key of its size.
using Digest = std::array<unsigned char, 32>;

// SHA-256 of the bytes.
Digest sha256(std::string_view bytes);

// HMAC with SHA-256: a digest that only the holder of `key` can compute.
Digest hmacSha256(const Digest& key, std::string_view bytes);

// Compares texts of equal length in a time that does not depend on where they differ. Only the
// length may show through timing.
bool isEqualInConstantTime(std::string_view one, std::string_view other);

} // namespace redfish
