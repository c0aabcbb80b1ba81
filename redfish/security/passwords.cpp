#include "redfish/security/passwords.h"

#include "redfish/crypto/digest.h"

#include <crypt.h>
#include <memory>
#include <openssl/crypto.h>
#include <stdexcept>

namespace redfish {

namespace {

// The work area holds secrets derived from the password, so wipe it before freeing it.
struct Wipe {
    void operator()(crypt_data* data) const {
        OPENSSL_cleanse(data, sizeof *data);
        delete data;
    }
};

std::string hashWith(const std::string& password, const std::string& setting) {
    const std::unique_ptr<crypt_data, Wipe> work(new crypt_data{});
    const char* const hash = crypt_r(password.c_str(), setting.c_str(), work.get());
    return hash == nullptr || *hash == '*' ? std::string{} : std::string(hash);
}

} // namespace

std::string hashPassword(const std::string& password) {
    const std::unique_ptr<char, decltype(&std::free)> setting(
        crypt_gensalt_ra("$y$", 0, nullptr, 0), &std::free);
    std::string hash = setting ? hashWith(password, setting.get()) : std::string{};
    if (hash.empty()) {
        throw std::runtime_error("libcrypt cannot hash the password");
    }
    return hash;
}

bool isPasswordOf(const std::string& password, const std::string& hash) {
    return hash.starts_with('$') && isEqualInConstantTime(hashWith(password, hash), hash);
}

} // namespace redfish
