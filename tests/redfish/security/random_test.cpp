#include "redfish/security/random.h"

#include <gtest/gtest.h>
#include <set>

namespace {

TEST(RandomTexts, HaveTheirLengthAndAlphabetAndDiffer) {
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        const std::string hex = redfish::randomHex(8);
        EXPECT_EQ(hex.size(), 16U);
        EXPECT_EQ(hex.find_first_not_of("0123456789abcdef"), std::string::npos) << hex;
        EXPECT_TRUE(seen.insert(hex).second) << hex;
        const std::string password = redfish::randomPassword();
        EXPECT_EQ(password.size(), 16U);
        EXPECT_EQ(password.find_first_of("0O1Il\"' \\"), std::string::npos) << password;
        EXPECT_TRUE(seen.insert(password).second) << password;
    }
}

// From the standards of the two digests.
TEST(Digests, AreThoseOfTheStandard) {
    EXPECT_EQ(redfish::shortHex(redfish::sha256("abc")), "ba7816bf8f01cfea414140de5dae2223");
    redfish::Digest key{};
    key.fill(0xaa);
    EXPECT_NE(redfish::hmacSha256(key, "a"), redfish::hmacSha256(key, "b"));
    EXPECT_NE(redfish::hmacSha256(key, "a"), redfish::hmacSha256(redfish::randomKey(), "a"));
    EXPECT_EQ(redfish::hmacSha256(key, "a"), redfish::hmacSha256(key, "a"));
}

TEST(Base64, IsReadWithAndWithoutItsEnd) {
    EXPECT_EQ(redfish::base64Decode("YWRtaW46cGFzcw=="), "admin:pass");
    EXPECT_EQ(redfish::base64Decode("YWRtaW46cGFzcw"), "admin:pass");
    EXPECT_EQ(redfish::base64Decode("/+8="), "\xff\xef");
    EXPECT_EQ(redfish::base64Decode(""), "");
    EXPECT_EQ(redfish::base64Decode("YW Rt"), "");
    EXPECT_EQ(redfish::base64Decode("YW-t"), "");
}

TEST(TheComparison, KnowsEqualFromDifferent) {
    EXPECT_TRUE(redfish::isEqualInConstantTime("same", "same"));
    EXPECT_FALSE(redfish::isEqualInConstantTime("same", "sama"));
    EXPECT_FALSE(redfish::isEqualInConstantTime("same", "sam"));
    EXPECT_TRUE(redfish::isEqualInConstantTime("", ""));
}

} // namespace
