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

} // namespace
