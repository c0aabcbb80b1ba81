#include "redfish/security/random.h"

#include "redfish/crypto/encoding.h"

#include <openssl/rand.h>
#include <span>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace redfish {

namespace {

// Without characters that look alike on a small panel.
constexpr std::string_view kReadable = "ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz23456789";
constexpr std::size_t kPasswordLength = 16;

void fill(std::span<unsigned char> bytes) {
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
        throw std::runtime_error("OpenSSL has no random numbers to give");
    }
}

} // namespace

std::string randomHex(std::size_t bytes) {
    std::vector<unsigned char> random(bytes);
    fill(random);
    return toHex(random);
}

std::string randomPassword() {
    std::string password;
    while (password.size() < kPasswordLength) {
        unsigned char byte = 0;
        fill({&byte, 1});
        // Reject the uneven rest of the range, so that all characters are equally likely.
        if (byte < 256 / kReadable.size() * kReadable.size()) {
            password += kReadable[byte % kReadable.size()];
        }
    }
    return password;
}

Digest randomKey() {
    Digest key{};
    fill(key);
    return key;
}

} // namespace redfish
