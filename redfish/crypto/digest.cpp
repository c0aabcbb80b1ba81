#include "redfish/crypto/digest.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>

namespace redfish {

namespace {

const unsigned char* bytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

} // namespace

Digest sha256(std::string_view bytes) {
    Digest digest{};
    SHA256(bytesOf(bytes), bytes.size(), digest.data());
    return digest;
}

Digest hmacSha256(const Digest& key, std::string_view bytes) {
    Digest digest{};
    unsigned int size = digest.size();
    HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), bytesOf(bytes), bytes.size(),
         digest.data(), &size);
    return digest;
}

bool isEqualInConstantTime(std::string_view one, std::string_view other) {
    return one.size() == other.size() && CRYPTO_memcmp(one.data(), other.data(), one.size()) == 0;
}

} // namespace redfish
