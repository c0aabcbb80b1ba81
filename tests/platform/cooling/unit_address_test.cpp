// Addresses of Modbus units.
#include "platform/cooling/unit_address.h"

#include <gtest/gtest.h>
#include <string_view>

namespace {

using cooling::parseUnitAddress;
using namespace std::string_view_literals;

TEST(UnitAddress, TakesNumericAddressesAndLocalhost) {
    struct Row {
        const char* text;
        const char* host;
        int port;
    };
    const Row rows[] = {
        {"127.0.0.1:502", "127.0.0.1", 502}, {"localhost:1502", "127.0.0.1", 1502},
        {"[::1]:65535", "::1", 65535},       {"[fe80::1:2]:1", "fe80::1:2", 1},
        {"10.0.0.7:00502", "10.0.0.7", 502},
    };
    for (const Row& row : rows) {
        const auto address = parseUnitAddress(row.text);
        ASSERT_TRUE(address) << row.text;
        EXPECT_EQ(address->host, row.host) << row.text;
        EXPECT_EQ(address->port, row.port) << row.text;
    }
}

TEST(UnitAddress, RefusesEveryOtherText) {
    const std::string_view texts[] = {
        "",
        ":",
        ":502",
        "127.0.0.1",
        "127.0.0.1:",
        "502",
        "unit:502",
        "127.0.0.1:0",
        "127.0.0.1:65536",
        "127.0.0.1:-1",
        "::1:502",
        "[::1]",
        "[]:502",
        "[127.0.0.1]:502",
        "127.0.0.1:502 ",
        " 127.0.0.1:502",
        "127.1:502",
        "127.0.0.256:502",
        "127.0.0.1:5o2",
        "[::1:502",
        "127.0.0.1:99999999999999999999",
        "127.0.0.1\0:502"sv,
        "tcp://127.0.0.1:502",
    };
    for (const std::string_view text : texts) {
        EXPECT_FALSE(parseUnitAddress(text)) << text;
    }
}

TEST(UnitAddress, TakesPortNoughtOnlyWhereThatMeansAnyPort) {
    EXPECT_FALSE(parseUnitAddress("127.0.0.1:0"));
    ASSERT_TRUE(parseUnitAddress("127.0.0.1:0", 0));
    EXPECT_EQ(parseUnitAddress("127.0.0.1:0", 0)->port, 0);
}

} // namespace
