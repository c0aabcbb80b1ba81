#include "client/events.h"

#include "client/errors.h"
#include "tests/support/redis_server.h"
#include "tests/support/wait_until.h"

#include <gmock/gmock.h>
#include <thread>

namespace {

using client::EventStream;

class EventStreams : public testing::Test {
protected:
    std::string append(const std::string& message) {
        return server.command({"XADD", "Events:source", "*", "Message", message});
    }

    test::RedisServer server;
    client::StoreConnection store{client::parseAddress(server.address())};
    client::Stop stop;
};

TEST_F(EventStreams, MissNothingBetweenTheirBeginningAndTheFirstRead) {
    append("before");
    EventStream stream(store, "source", {}, &stop);
    append("after");
    const auto events = stream.next();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].message, "after");
}

TEST_F(EventStreams, BeginOnAStreamThatDoesNotExistYet) {
    EventStream stream(store, "source", {}, &stop);
    std::thread other([this] { append("first"); });
    EXPECT_EQ(stream.next().at(0).message, "first");
    other.join();
}

TEST_F(EventStreams, GiveEachEventOnceAndInOrder) {
    EventStream stream(store, "source", "0", &stop);
    std::thread other([this] {
        for (int i = 0; i < 300; ++i) {
            server.command({"XADD", "Events:source", "*", "Message", std::to_string(i)});
        }
    });
    int expected = 0;
    while (expected < 300) {
        for (const client::Event& event : stream.next()) {
            EXPECT_EQ(event.message, std::to_string(expected));
            ++expected;
        }
    }
    other.join();
}

TEST_F(EventStreams, GiveWhatIsKeptAfterAnIdWithoutWaiting) {
    EXPECT_TRUE(client::eventsSince(store, "source", "0", 10).empty());
    const std::string first = append("one");
    append("two");
    append("three");
    EXPECT_EQ(client::eventsSince(store, "source", "0", 10).size(), 3U);
    const auto later = client::eventsSince(store, "source", first, 10);
    ASSERT_EQ(later.size(), 2U);
    EXPECT_EQ(later[0].message, "two");
    EXPECT_EQ(client::eventsSince(store, "source", "0", 2).back().message, "two");
    EXPECT_THROW(client::eventsSince(store, "source", "$", 2), client::InvalidArgument);
}

TEST_F(EventStreams, EndWhenStopped) {
    EventStream stream(store, "source", {}, &stop);
    std::thread other([this] { stop.request(); });
    EXPECT_THROW(stream.next(), client::Stopped);
    other.join();
}

TEST(EventTime, IsTheTimeInTheId) {
    EXPECT_EQ(client::eventTime("0-1"), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(client::eventTime("1700000000007-12"), "2023-11-14T22:13:20.007Z");
    EXPECT_EQ(client::eventTime("4107542399999-0"), "2100-02-28T23:59:59.999Z");
    EXPECT_EQ(client::eventTime("253402300799999-0"), "9999-12-31T23:59:59.999Z");
    EXPECT_EQ(client::eventTime("253402300800000-0"), "");
    EXPECT_EQ(client::eventTime("-1-0"), "");
    EXPECT_EQ(client::eventTime("-"), "");
    EXPECT_EQ(client::eventTime("99999999999999999999-0"), "");
}

TEST(CheckEventId, TakesIdsAndNothingElse) {
    for (const std::string good : {"0", "5", "1700000000000-0", "18446744073709551615-1"}) {
        EXPECT_NO_THROW(client::checkEventId(good)) << good;
    }
    for (const std::string bad :
         {"", "-", "$", "+", "1-", "-1", "1-2-3", "0x1", "18446744073709551616"}) {
        EXPECT_THROW(client::checkEventId(bad), client::InvalidArgument) << bad;
    }
}

} // namespace
