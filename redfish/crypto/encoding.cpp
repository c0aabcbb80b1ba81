#include "redfish/crypto/encoding.h"

#include <openssl/evp.h>

namespace redfish {

namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";
constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
// Base64 writes three bytes as four characters.
constexpr std::size_t kGroupBytes = 3;
constexpr std::size_t kGroupCharacters = 4;

} // namespace

std::string toHex(std::span<const unsigned char> bytes) {
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const unsigned char byte : bytes) {
        text += kHexDigits[byte >> 4U];
        text += kHexDigits[byte & 15U];
    }
    return text;
}

std::string base64Decode(std::string_view text) {
    while (text.ends_with('=')) {
        text.remove_suffix(1);
    }
    // EVP_DecodeBlock skips white space at the ends; credentials must not hold any.
    if (text.empty() || text.find_first_not_of(kBase64Alphabet) != std::string_view::npos ||
        text.size() % kGroupCharacters == 1) {
        return {};
    }
    const std::size_t padding =
        (kGroupCharacters - text.size() % kGroupCharacters) % kGroupCharacters;
    const std::string padded = std::string(text) + std::string(padding, '=');
    std::string decoded(padded.size() / kGroupCharacters * kGroupBytes, '\0');
    const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(decoded.data()),
                                     reinterpret_cast<const unsigned char*>(padded.data()),
                                     static_cast<int>(padded.size()));
    // The padding decodes to zero bytes, which are not part of the text.
    decoded.resize(size < 0 ? 0 : static_cast<std::size_t>(size) - padding);
    return decoded;
}

} // namespace redfish
