#include "redfish/http/entity_tag.h"

#include <gtest/gtest.h>

namespace {

using redfish::Comparison;

TEST(AnEntityTag, IsAQuotedHashOfTheBytes) {
    // The first half of the SHA-256 of "abc".
    EXPECT_EQ(redfish::entityTag("abc"), "\"ba7816bf8f01cfea414140de5dae2223\"");
    EXPECT_EQ(redfish::entityTag(""), "\"e3b0c44298fc1c149afbf4c8996fb924\"");
}

TEST(AnEntityTag, IsFoundInTheListOfAHeader) {
    EXPECT_TRUE(redfish::isListed("\"a\"", "\"a\"", Comparison::weak));
    EXPECT_TRUE(redfish::isListed("\"b\" , W/\"a\"", "\"a\"", Comparison::weak));
    EXPECT_TRUE(redfish::isListed("*", "\"a\"", Comparison::weak));
    EXPECT_FALSE(redfish::isListed("\"b\"", "\"a\"", Comparison::weak));
    EXPECT_FALSE(redfish::isListed("a", "\"a\"", Comparison::weak));
    EXPECT_FALSE(redfish::isListed("", "\"a\"", Comparison::weak));
    EXPECT_TRUE(redfish::isListed("\"b\", \"a\"", "\"a\"", Comparison::strong));
    EXPECT_TRUE(redfish::isListed("*", "\"a\"", Comparison::strong));
    EXPECT_FALSE(redfish::isListed("W/\"a\"", "\"a\"", Comparison::strong));
}

} // namespace
