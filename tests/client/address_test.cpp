#include "client/address.h"

#include "client/errors.h"

#include <cstdlib>
#include <gmock/gmock.h>

namespace {

using client::parseAddress;
using testing::HasSubstr;

TEST(ParseAddress, ReadsWhatItWrites) {
    for (const std::string text : {"unix:/run/redis/redis-server.sock", "unix:relative",
                                   "tcp:127.0.0.1:6379", "tcp:host.local:1", "tcp:[::1]:65535"}) {
        EXPECT_EQ(parseAddress(text).text(), text);
    }
}

TEST(ParseAddress, TakesTheHostOutOfItsBrackets) {
    EXPECT_EQ(parseAddress("tcp:[fe80::1]:6379").host, "fe80::1");
}

TEST(ParseAddress, RefusesAllElseAndNamesWhatWasGiven) {
    for (const std::string text : {"", "/run/redis.sock", "unix:", "tcp:", "tcp:host", "tcp::6379",
                                   "tcp:host:", "tcp:host:0", "tcp:host:65536", "tcp:host:6379x",
                                   "tcp:host:-1", "redis://host:6379"}) {
        try {
            parseAddress(text);
            ADD_FAILURE() << "accepted: " << text;
        } catch (const client::InvalidArgument& error) {
            EXPECT_THAT(error.what(), HasSubstr("\"" + text + "\""));
            EXPECT_THAT(error.what(), HasSubstr("write unix:PATH or tcp:HOST:PORT"));
        }
    }
}

TEST(ParseAddress, RefusesASocketPathThatTheSystemWouldCut) {
    EXPECT_NO_THROW(parseAddress("unix:" + std::string(107, 'a')));
    EXPECT_THROW(parseAddress("unix:" + std::string(108, 'a')), client::InvalidArgument);
}

TEST(ChooseAddress, PrefersTheGivenOneToTheEnvironmentAndThatToTheDefault) {
    ::setenv("OSSEL_REDIS", "unix:/from/environment", 1);
    EXPECT_EQ(client::chooseAddress("unix:/given").text(), "unix:/given");
    EXPECT_EQ(client::chooseAddress().text(), "unix:/from/environment");
    ::setenv("OSSEL_REDIS", "", 1);
    EXPECT_EQ(client::chooseAddress().text(), "unix:/run/redis/redis-server.sock");
    ::unsetenv("OSSEL_REDIS");
    EXPECT_EQ(client::chooseAddress().text(), "unix:/run/redis/redis-server.sock");
}

} // namespace
