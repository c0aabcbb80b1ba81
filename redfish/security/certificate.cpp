#include "redfish/security/certificate.h"

#include "redfish/security/private_file.h"

#include <array>
#include <memory>
#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>
#include <stdexcept>
#include <string_view>
#include <unistd.h>

namespace redfish {

namespace {

constexpr long kTenYears = 3650L * 24 * 3600;
constexpr long kClockSkew = 24L * 3600; // a board's clock may be slow at its first start
constexpr int kSerialBits = 127;

template <auto Free>
struct Freed {
    template <typename T>
    void operator()(T* each) const {
        Free(each);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Freed<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freed<X509_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Freed<X509_EXTENSION_free>>;
using Memory = std::unique_ptr<BIO, Freed<BIO_free_all>>;
using Number = std::unique_ptr<BIGNUM, Freed<BN_free>>;

void require(bool isDone, const char* what) {
    if (!isDone) {
        throw std::runtime_error(std::string("cannot make a certificate: ") + what);
    }
}

bool isAddress(std::string_view name) {
    return name.find(':') != std::string_view::npos ||
           name.find_first_not_of("0123456789.") == std::string_view::npos;
}

std::string subjectAlternatives(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : ",") + std::string(isAddress(name) ? "IP:" : "DNS:") + name;
    }
    return list;
}

void extend(X509* certificate, int kind, const std::string& value) {
    X509V3_CTX context{};
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()));
    require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "an extension");
}

void setSerial(X509* certificate) {
    const Number number(BN_new());
    require(number &&
                BN_rand(number.get(), kSerialBits, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY) == 1 &&
                BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr,
            "the serial number");
}

Certificate makeCertificate(EVP_PKEY* key, const std::vector<std::string>& names) {
    Certificate made(X509_new());
    X509* const certificate = made.get();
    require(certificate != nullptr && X509_set_version(certificate, X509_VERSION_3) == 1,
            "the version");
    setSerial(certificate);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -kClockSkew);
    X509_gmtime_adj(X509_getm_notAfter(certificate), kTenYears);
    X509_NAME* const name = X509_get_subject_name(certificate);
    const auto* const text = reinterpret_cast<const unsigned char*>(names.front().c_str());
    require(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, text, -1, -1, 0) == 1 &&
                X509_set_issuer_name(certificate, name) == 1,
            "the name");
    require(X509_set_pubkey(certificate, key) == 1, "the key");
    extend(certificate, NID_basic_constraints, "critical,CA:FALSE");
    extend(certificate, NID_key_usage, "critical,digitalSignature");
    extend(certificate, NID_ext_key_usage, "serverAuth");
    extend(certificate, NID_subject_key_identifier, "hash");
    extend(certificate, NID_subject_alt_name, subjectAlternatives(names));
    require(X509_sign(certificate, key, EVP_sha256()) > 0, "the signature");
    return made;
}

std::string contents(BIO* memory) {
    char* text = nullptr;
    const long size = BIO_get_mem_data(memory, &text);
    return {text, static_cast<std::size_t>(size)};
}

} // namespace

CertificateFiles ensureCertificate(const std::filesystem::path& folder,
                                   const std::vector<std::string>& names) {
    CertificateFiles files{.certificate = folder / "certificate.pem", .key = folder / "key.pem"};
    if (std::filesystem::exists(files.certificate) && std::filesystem::exists(files.key)) {
        readPrivateFile(files.key); // throws if others may read it
        return files;
    }
    // What the macro EVP_EC_gen calls, without its cast.
    const Key key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    require(key != nullptr, "the key");
    const Certificate certificate = makeCertificate(key.get(), names);
    const Memory keyText(BIO_new(BIO_s_mem()));
    const Memory certificateText(BIO_new(BIO_s_mem()));
    require(keyText && certificateText &&
                PEM_write_bio_PrivateKey(keyText.get(), key.get(), nullptr, nullptr, 0, nullptr,
                                         nullptr) == 1 &&
                PEM_write_bio_X509(certificateText.get(), certificate.get()) == 1,
            "its text");
    writePrivateFile(files.key, contents(keyText.get()));
    writePrivateFile(files.certificate, contents(certificateText.get()));
    std::filesystem::permissions(
        files.certificate, std::filesystem::perms::group_read | std::filesystem::perms::others_read,
        std::filesystem::perm_options::add);
    return files;
}

std::vector<std::string> ownNames() {
    std::vector<std::string> names;
    std::array<char, 256> host{};
    if (::gethostname(host.data(), host.size() - 1) == 0 && host.front() != '\0') {
        names.emplace_back(host.data());
    }
    for (const char* const each : {"localhost", "127.0.0.1", "::1"}) {
        names.emplace_back(each);
    }
    return names;
}

} // namespace redfish
