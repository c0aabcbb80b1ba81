// A server that announces more than an honest one ever sends gets no memory for it, on any road on
// which replies are read.
#include "client/connection.h"
#include "client/errors.h"
#include "client/invalidation.h"
#include "client/subscription.h"
#include "redis/connection.h"
#include "tests/support/odd_server.h"
#include "tests/support/peak_memory.h"

#include <gmock/gmock.h>

namespace {

using redis::Reply;
using redis::ReplyReader;
using test::memoryTakenBy;
using test::OddServer;
using testing::HasSubstr;
using Found = ReplyReader::Found;

constexpr std::size_t kLittle = 32; // MiB
// Where a server's thread may take its stack and its arena meanwhile.
constexpr std::size_t kLittleWithAThread = 256;

std::string times(int count, const std::string& text) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

// Headers that promise gigabytes, with nothing behind them.
const std::vector<std::string>& greedyHeaders() {
    static const std::vector<std::string> headers{
        "*100000000\r\n",
        "*1048577\r\n",
        "*9223372036854775807\r\n",
        "*1048000\r\n*1048000\r\n",
        times(7, "*1\r\n") + "*100000000\r\n",
        times(9, "*1\r\n"),
        "*2\r\n$1\r\na\r\n*100000000\r\n",
        "$4294967296\r\n",
        "$8000000000\r\n",
        "$67108865\r\n",
        "$9223372036854775807\r\n",
        "*1\r\n$8000000000\r\n",
    };
    return headers;
}

void feedInto(ReplyReader& reader, std::string_view bytes) {
    while (!bytes.empty()) {
        const std::span<char> room = reader.room();
        const std::size_t count = bytes.copy(room.data(), room.size());
        reader.added(count);
        bytes.remove_prefix(count);
    }
}

TEST(ReplyLimits, RefuseWhatAHeaderAnnouncesBeforeItTakesMemory) {
    for (const std::string& header : greedyHeaders()) {
        EXPECT_LT(memoryTakenBy([&] {
                      ReplyReader reader;
                      Reply reply;
                      feedInto(reader, header);
                      EXPECT_EQ(reader.next(reply), Found::nonsense) << header;
                  }),
                  kLittle)
            << header;
    }
}

TEST(ReplyLimits, LetMemoryGrowWithWhatArrivesOnly) {
    for (const std::string header : {"*1048576\r\n", "$67100000\r\n", "*2\r\n*1000000\r\n:1\r\n"}) {
        EXPECT_LT(memoryTakenBy([&] {
                      ReplyReader reader;
                      Reply reply;
                      feedInto(reader, header);
                      EXPECT_EQ(reader.next(reply), Found::incomplete) << header;
                  }),
                  kLittle)
            << header;
    }
}

TEST(ReplyLimits, HoldForTheReplyAsAWhole) {
    const std::string text = "$1048576\r\n" + std::string(1'048'576, 't') + "\r\n";
    ReplyReader reader;
    Reply reply;
    feedInto(reader, "*1000\r\n");
    Found found = Found::incomplete;
    int texts = 0;
    while (found == Found::incomplete && texts < 1000) {
        feedInto(reader, text);
        found = reader.next(reply);
        ++texts;
    }
    EXPECT_EQ(found, Found::nonsense);
    EXPECT_EQ(texts, 64);
    EXPECT_STREQ(reader.problem(), "a reply is longer than 64 MiB");
}

TEST(ReplyLimits, HoldForALineWithoutEnd) {
    ReplyReader reader;
    Reply reply;
    feedInto(reader, "+" + std::string(65'000, 'x'));
    EXPECT_EQ(reader.next(reply), Found::incomplete);
    feedInto(reader, std::string(1'000, 'x'));
    EXPECT_EQ(reader.next(reply), Found::nonsense);
}

TEST(ReplyLimits, HoldOnAConnection) {
    for (const std::string& header : greedyHeaders()) {
        OddServer server([&](const std::string&) { return OddServer::Answer{header}; });
        EXPECT_LT(memoryTakenBy([&] {
                      redis::Connection connection;
                      const redis::Deadline deadline = redis::Clock::now() + redis::kTimeout;
                      ASSERT_TRUE(connection.open(redis::parseAddress(server.address()), deadline));
                      connection.append(redis::ShortCommand{"GET", "key"});
                      ASSERT_TRUE(connection.send(deadline));
                      Reply reply;
                      EXPECT_FALSE(connection.await(reply, deadline)) << header;
                      EXPECT_EQ(connection.failure(), redis::Failure::nonsense) << header;
                  }),
                  kLittleWithAThread)
            << header;
    }
}

// The client's roads: commands, look-ups, subscriptions, and the keys that are tracked.
TEST(ReplyLimits, HoldForEveryRoadOfTheClient) {
    for (const std::string& header : greedyHeaders()) {
        OddServer server([&](const std::string&) { return OddServer::Answer{header}; });
        const client::Address address = client::parseAddress(server.address());
        const auto expectRefused = [&](const char* road, const auto& body) {
            EXPECT_LT(memoryTakenBy([&] {
                          try {
                              body();
                              ADD_FAILURE() << road << " accepted " << header;
                          } catch (const client::StoreUnreachable& error) {
                              EXPECT_THAT(error.what(), HasSubstr("unreadable reply")) << road;
                          }
                      }),
                      kLittleWithAThread)
                << road << " on " << header;
        };
        client::StoreConnection store(address);
        expectRefused("command", [&] { store.command({"HGETALL", "key"}); });
        const std::array<client::Words, 1> words{{{"HGETALL", "key"}}};
        expectRefused("lookUp", [&] { store.lookUp(words); });
        expectRefused("blockingCommand", [&] {
            store.blockingCommand({"XREAD", "key"}, client::Clock::now() + client::kStoreTimeout,
                                  nullptr);
        });
        client::Subscription subscription(address);
        expectRefused("subscribe", [&] { subscription.subscribe("channel"); });
        expectRefused("tracking", [&] { client::Invalidations(address, {"prefix"}); });
    }
}

TEST(ReplyLimits, HoldForTheMessagesOfASubscription) {
    for (const std::string& header : greedyHeaders()) {
        OddServer server([&](const std::string&) {
            return OddServer::Answer{"*3\r\n$9\r\nsubscribe\r\n$7\r\nchannel\r\n:1\r\n" + header};
        });
        client::Subscription subscription(client::parseAddress(server.address()));
        subscription.subscribe("channel");
        EXPECT_LT(memoryTakenBy([&] {
                      EXPECT_THROW(
                          subscription.next(
                              "channel", client::Clock::now() + std::chrono::seconds(20), nullptr),
                          client::StoreUnreachable)
                          << header;
                  }),
                  kLittleWithAThread)
            << header;
    }
}

} // namespace
