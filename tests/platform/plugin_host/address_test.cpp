#include "platform/plugin_host/address.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using plugin_host::Address;
using plugin_host::parseAddress;

TEST(ParseAddress, ReadsTheFormsOfAServer) {
    EXPECT_EQ(parseAddress("unix:/run/redis.sock").path, "/run/redis.sock");
    EXPECT_EQ(parseAddress("unix:" + std::string(107, 'p')).path, std::string(107, 'p'));
    const Address tcp = parseAddress("tcp:redis.local:6379");
    EXPECT_EQ(tcp.path, "");
    EXPECT_EQ(tcp.host, "redis.local");
    EXPECT_EQ(tcp.port, 6379);
    EXPECT_EQ(parseAddress("tcp:[::1]:65535").host, "::1");
    EXPECT_EQ(parseAddress("tcp:[::1]:65535").port, 65535);
}

TEST(ParseAddress, KnowsNoServerByAnyOtherText) {
    for (const std::string text : {"",
                                   "unix",
                                   "unix:",
                                   "/run/redis.sock",
                                   "tcp",
                                   "tcp:",
                                   "tcp:host",
                                   "tcp::6379",
                                   "tcp:host:",
                                   "tcp:host:0",
                                   "tcp:host:65536",
                                   "tcp:host:99999999999",
                                   "tcp:host:-1",
                                   "tcp:host:+1",
                                   "tcp:host:x",
                                   "tcp:host:63 ",
                                   "tcp:::1:6379",
                                   "tcp:[]:6379",
                                   "tcp:[::1]",
                                   "tcp:[::1:6379",
                                   "tcp:[[::1]]:6379",
                                   "udp:host:6379",
                                   "TCP:host:6379"}) {
        EXPECT_FALSE(parseAddress(text).isKnown()) << text;
    }
    EXPECT_FALSE(parseAddress("unix:" + std::string(108, 'p')).isKnown());
}

} // namespace
