#include "redfish/security/certificate.h"

#include "tests/support/child_process.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

using redfish::CertificateFiles;
using testing::ContainsRegex;
using testing::HasSubstr;

class TheCertificate : public testing::Test {
protected:
    static std::string asText(const CertificateFiles& files) {
        const test::Finished shown =
            test::run({"openssl", "x509", "-in", files.certificate, "-noout", "-text"});
        EXPECT_EQ(shown.status, 0) << shown.error;
        return shown.output;
    }

    test::TemporaryFolder folder;
};

TEST_F(TheCertificate, IsCreatedForTheGivenNames) {
    const CertificateFiles files = redfish::ensureCertificate(
        folder.path(), {"unit.example", "localhost", "127.0.0.1", "::1"});
    const std::string text = asText(files);
    // The later openssl prints no blanks here.
    EXPECT_THAT(text, ContainsRegex("CN ?= ?unit\\.example"));
    EXPECT_THAT(text, HasSubstr("DNS:unit.example, DNS:localhost, IP Address:127.0.0.1"));
    EXPECT_THAT(text, HasSubstr("ASN1 OID: prime256v1"));
    EXPECT_THAT(text, HasSubstr("CA:FALSE"));
    EXPECT_EQ(test::run({"openssl", "verify", "-CAfile", files.certificate, "-verify_hostname",
                         "localhost", files.certificate})
                  .status,
              0);
    struct stat status {};
    ASSERT_EQ(::stat(files.key.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(TheCertificate, IsKeptOnceItExists) {
    const CertificateFiles files = redfish::ensureCertificate(folder.path(), {"localhost"});
    const std::string before = test::readFile(files.certificate);
    redfish::ensureCertificate(folder.path(), {"another"});
    EXPECT_EQ(test::readFile(files.certificate), before);
    std::filesystem::remove(files.key);
    redfish::ensureCertificate(folder.path(), {"another"});
    EXPECT_NE(test::readFile(files.certificate), before) << "useless without its key";
}

TEST_F(TheCertificate, IsRefusedWhenOthersMayReadItsKey) {
    const CertificateFiles files = redfish::ensureCertificate(folder.path(), {"localhost"});
    std::filesystem::permissions(files.key, std::filesystem::perms::others_read,
                                 std::filesystem::perm_options::add);
    EXPECT_THROW(redfish::ensureCertificate(folder.path(), {"localhost"}), std::runtime_error);
}

TEST(TheOwnNames, EndWithThoseOfLoopback) {
    EXPECT_THAT(redfish::ownNames(), testing::IsSupersetOf({"localhost", "127.0.0.1", "::1"}));
}

} // namespace
