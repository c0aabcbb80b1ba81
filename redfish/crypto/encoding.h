// Bytes as text and back. Any thread.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace redfish {

// Two lower-case hexadecimal digits for each byte.
std::string toHex(std::span<const unsigned char> bytes);

// Decodes base64, padded or not. Empty for an empty text and for one that holds anything but the
// standard alphabet, white space included, or has a length that no encoder produces.
std::string base64Decode(std::string_view text);

} // namespace redfish
