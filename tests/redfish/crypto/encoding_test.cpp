#include "redfish/crypto/encoding.h"

#include <array>
#include <gtest/gtest.h>

namespace {

TEST(Hex, IsTwoDigitsForEachByte) {
    const std::array<unsigned char, 3> bytes{0x00, 0x7f, 0xff};
    EXPECT_EQ(redfish::toHex(bytes), "007fff");
    EXPECT_EQ(redfish::toHex({}), "");
}

TEST(Base64, IsReadWithAndWithoutItsEnd) {
    EXPECT_EQ(redfish::base64Decode("YWRtaW46cGFzcw=="), "admin:pass");
    EXPECT_EQ(redfish::base64Decode("YWRtaW46cGFzcw"), "admin:pass");
    EXPECT_EQ(redfish::base64Decode("/+8="), "\xff\xef");
    EXPECT_EQ(redfish::base64Decode(""), "");
    EXPECT_EQ(redfish::base64Decode("YW Rt"), "");
    EXPECT_EQ(redfish::base64Decode("YW-t"), "");
    EXPECT_EQ(redfish::base64Decode("YWRtY"), "") << "no encoder writes one character alone";
    EXPECT_EQ(redfish::base64Decode(" YWRt\n"), "");
    EXPECT_EQ(redfish::base64Decode("YQ=YQ=="), "") << "padding inside";
    EXPECT_EQ(redfish::base64Decode("AAAA"), std::string(3, '\0'));
}

} // namespace
