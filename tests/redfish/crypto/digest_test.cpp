#include "redfish/crypto/digest.h"

#include "redfish/crypto/encoding.h"
#include "redfish/security/random.h"

#include <gtest/gtest.h>

namespace {

// From the standards of the two digests.
TEST(Digests, AreThoseOfTheStandard) {
    EXPECT_EQ(redfish::toHex(redfish::sha256("abc")),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    redfish::Digest key{};
    key.fill(0xaa);
    EXPECT_NE(redfish::hmacSha256(key, "a"), redfish::hmacSha256(key, "b"));
    EXPECT_NE(redfish::hmacSha256(key, "a"), redfish::hmacSha256(redfish::randomKey(), "a"));
    EXPECT_EQ(redfish::hmacSha256(key, "a"), redfish::hmacSha256(key, "a"));
}

TEST(TheComparison, KnowsEqualFromDifferent) {
    EXPECT_TRUE(redfish::isEqualInConstantTime("same", "same"));
    EXPECT_FALSE(redfish::isEqualInConstantTime("same", "sama"));
    EXPECT_FALSE(redfish::isEqualInConstantTime("same", "sam"));
    EXPECT_TRUE(redfish::isEqualInConstantTime("", ""));
}

} // namespace
