// OpenSSL's random numbers and digests. What they protect is left to the other files here.
#include "redfish/security/random.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>
#include <openssl/sha.h>
#include <stdexcept>
#include <vector>

namespace redfish {

namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";
// Without those that look alike on a small panel.
constexpr std::string_view kReadable = "ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz23456789";
constexpr std::size_t kPasswordLength = 16;

void fill(unsigned char* bytes, std::size_t count) {
    if (RAND_bytes(bytes, static_cast<int>(count)) != 1) {
        throw std::runtime_error("the system gives no random numbers");
    }
}

std::string toHex(const unsigned char* bytes, std::size_t count) {
    std::string text;
    text.reserve(count * 2);
    for (std::size_t i = 0; i < count; ++i) {
        text += kHexDigits[bytes[i] >> 4U];
        text += kHexDigits[bytes[i] & 15U];
    }
    return text;
}

const unsigned char* bytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

int valueOf64(char c) {
    if (c >= 'A' && c <= 'Z') {
        return c - 'A';
    }
    if (c >= 'a' && c <= 'z') {
        return c - 'a' + 26;
    }
    if (c >= '0' && c <= '9') {
        return c - '0' + 52;
    }
    return c == '+' ? 62 : c == '/' ? 63 : -1;
}

} // namespace

std::string randomHex(std::size_t bytes) {
    std::vector<unsigned char> random(bytes);
    fill(random.data(), bytes);
    return toHex(random.data(), bytes);
}

std::string randomPassword() {
    std::string password;
    while (password.size() < kPasswordLength) {
        unsigned char byte = 0;
        fill(&byte, 1);
        // Drawn again where the alphabet does not divide evenly, so that all are as likely.
        if (byte < 256 / kReadable.size() * kReadable.size()) {
            password += kReadable[byte % kReadable.size()];
        }
    }
    return password;
}

Digest sha256(std::string_view text) {
    Digest digest{};
    SHA256(bytesOf(text), text.size(), digest.data());
    return digest;
}

Digest hmacSha256(const Digest& key, std::string_view text) {
    Digest digest{};
    unsigned int size = digest.size();
    HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), bytesOf(text), text.size(),
         digest.data(), &size);
    return digest;
}

Digest randomKey() {
    Digest key{};
    fill(key.data(), key.size());
    return key;
}

std::string shortHex(const Digest& digest) {
    return toHex(digest.data(), digest.size() / 2);
}

bool isEqualInConstantTime(std::string_view one, std::string_view other) {
    return one.size() == other.size() && CRYPTO_memcmp(one.data(), other.data(), one.size()) == 0;
}

std::string base64Decode(std::string_view text) {
    while (text.ends_with('=')) {
        text.remove_suffix(1);
    }
    std::string decoded;
    unsigned int bits = 0;
    int count = 0;
    for (const char c : text) {
        const int value = valueOf64(c);
        if (value < 0) {
            return {};
        }
        bits = (bits << 6U) | static_cast<unsigned int>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            decoded += static_cast<char>((bits >> static_cast<unsigned int>(count)) & 255U);
        }
    }
    return decoded;
}

} // namespace redfish
