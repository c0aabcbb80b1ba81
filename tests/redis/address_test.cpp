// Every program that speaks to redis reads its address here: one table of good and of bad ones.
#include "redis/address.h"

#include "client/address.h"
#include "client/errors.h"

#include <cstdlib>
#include <gmock/gmock.h>

namespace {

using redis::parseAddress;
using testing::HasSubstr;

TEST(ParseAddress, ReadsWhatItWrites) {
    for (const std::string text :
         {"unix:/run/redis/redis-server.sock", "unix:relative", "tcp:127.0.0.1:6379",
          "tcp:host.local:1", "tcp:[::1]:65535", "tcp:[fe80::1%eth0]:6379"}) {
        EXPECT_EQ(parseAddress(text).text(), text);
    }
    EXPECT_EQ(parseAddress("tcp:[127.0.0.1]:1").text(), "tcp:127.0.0.1:1");
}

TEST(ParseAddress, SplitsAnAddressIntoItsParts) {
    EXPECT_EQ(parseAddress("unix:/run/redis.sock").path, "/run/redis.sock");
    const redis::Address tcp = parseAddress("tcp:[fe80::1]:6379");
    EXPECT_EQ(tcp.path, "");
    EXPECT_EQ(tcp.host, "fe80::1");
    EXPECT_EQ(tcp.port, 6379);
}

TEST(ParseAddress, RefusesEveryOtherText) {
    for (const std::string text : {"",
                                   "unix",
                                   "unix:",
                                   "tcp",
                                   "tcp:",
                                   "tcp::6379",
                                   "tcp:host",
                                   "tcp:host:",
                                   "tcp:host:0",
                                   "tcp:host:65536",
                                   "tcp:host:99999999999999999999",
                                   "tcp:host:-1",
                                   "tcp:host:+1",
                                   "tcp:host:63 79",
                                   "tcp:host:63 ",
                                   "tcp:host: 6379",
                                   "tcp:host:6379x",
                                   "tcp:host:x",
                                   "tcp:::1:6379",
                                   "tcp:[]:6379",
                                   "tcp:[a]b:80",
                                   "tcp:a]:80",
                                   "tcp:[a:80",
                                   "tcp:[::1]",
                                   "tcp:[::1]6379",
                                   "tcp:[::1:6379",
                                   "tcp:::1]:6379",
                                   "tcp:[[::1]]:6379",
                                   "127.0.0.1:6379",
                                   "/run/redis.sock",
                                   "redis://host:6379",
                                   "udp:host:6379",
                                   "TCP:127.0.0.1:6379",
                                   "UNIX:/run/redis.sock",
                                   " unix:/run/redis.sock"}) {
        EXPECT_THROW(parseAddress(text), redis::InvalidAddress) << text;
    }
}

TEST(ParseAddress, RefusesAPathThatTheSystemWouldCut) {
    EXPECT_EQ(parseAddress("unix:" + std::string(107, 'a')).path, std::string(107, 'a'));
    EXPECT_THROW(parseAddress("unix:" + std::string(108, 'a')), redis::InvalidAddress);
}

TEST(ConfiguredAddress, IsThatOfTheEnvironmentUnlessThatIsUnsetOrEmpty) {
    ::setenv("OSSEL_REDIS", "unix:/from/environment", 1);
    EXPECT_EQ(redis::configuredAddress(), "unix:/from/environment");
    ::setenv("OSSEL_REDIS", "", 1);
    EXPECT_EQ(redis::configuredAddress(), "unix:/run/redis/redis-server.sock");
    ::unsetenv("OSSEL_REDIS");
    EXPECT_EQ(redis::configuredAddress(), "unix:/run/redis/redis-server.sock");
}

TEST(ChooseAddress, PrefersTheGivenOneToTheConfiguredOne) {
    ::setenv("OSSEL_REDIS", "unix:/from/environment", 1);
    EXPECT_EQ(client::chooseAddress("unix:/given").text(), "unix:/given");
    EXPECT_EQ(client::chooseAddress().text(), "unix:/from/environment");
    ::unsetenv("OSSEL_REDIS");
    EXPECT_EQ(client::chooseAddress().text(), "unix:/run/redis/redis-server.sock");
}

TEST(ChooseAddress, NamesTheRefusedTextAndTheFormsToUse) {
    try {
        client::chooseAddress("tcp:::1:6379");
        ADD_FAILURE() << "accepted";
    } catch (const client::InvalidArgument& error) {
        EXPECT_THAT(error.what(), HasSubstr("\"tcp:::1:6379\""));
        EXPECT_THAT(error.what(), HasSubstr("write unix:PATH or tcp:HOST:PORT"));
    }
}

} // namespace
