#include "redfish/security/passwords.h"

#include <gtest/gtest.h>

namespace {

TEST(APasswordHash, IsSaltedYescryptAndFitsItsPasswordOnly) {
    const std::string hash = redfish::hashPassword("correct horse");
    EXPECT_TRUE(hash.starts_with("$y$")) << hash;
    EXPECT_EQ(hash.find("correct"), std::string::npos);
    EXPECT_NE(hash, redfish::hashPassword("correct horse")) << "the salt differs";
    EXPECT_TRUE(redfish::isPasswordOf("correct horse", hash));
    EXPECT_FALSE(redfish::isPasswordOf("correct horsf", hash));
    EXPECT_FALSE(redfish::isPasswordOf("", hash));
}

TEST(APasswordHash, ThatIsNoneFitsNothing) {
    for (const char* const bad : {"", "*", "*0", "plain", "$", "$y$", "$y$j9T$"}) {
        EXPECT_FALSE(redfish::isPasswordOf("plain", bad)) << bad;
        EXPECT_FALSE(redfish::isPasswordOf(bad, bad)) << bad;
    }
}

} // namespace
