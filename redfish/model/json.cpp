// Bytes of a document, and their tag.
#include "redfish/model/json.h"

#include <openssl/sha.h>

#include <array>

namespace redfish::model {

namespace {

// Of the hash: 128 bits tell any two documents apart.
constexpr std::size_t kTagBytes = 16;

} // namespace

std::string serialise(const Json& document) {
    return document.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string entityTag(std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::array<unsigned char, SHA256_DIGEST_LENGTH> hash{};
    SHA256(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), hash.data());
    std::string tag = "\"";
    for (std::size_t i = 0; i < kTagBytes; ++i) {
        tag += kDigits[hash.at(i) >> 4U];
        tag += kDigits[hash.at(i) & 15U];
    }
    return tag + "\"";
}

Json linkTo(std::string_view address) {
    return {{"@odata.id", address}};
}

} // namespace redfish::model
