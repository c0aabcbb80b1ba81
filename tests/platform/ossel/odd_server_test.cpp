// A misbehaving server: whatever it answers, no call crashes, hangs or takes the reply to another
// call for its own.
#include "tests/platform/ossel/store_test.h"
#include "tests/support/odd_server.h"
#include "tests/support/peak_memory.h"

#include <array>
#include <chrono>
#include <csignal>
#include <functional>
#include <gmock/gmock.h>

namespace {

using test::connectTo;
using test::errorsOf;
using test::OddServer;
using testing::HasSubstr;
using testing::SizeIs;

constexpr const char* kNoArgument = nullptr;

using Clock = std::chrono::steady_clock;

// One function with harmless arguments. True when it reports success.
struct Call {
    const char* name;
    std::function<bool(redisContext*)> succeeds;
};

int countMembers(redisContext* context) {
    InstanceSlot* slots = nullptr;
    unsigned int count = 0;
    const int code = osselSMembers(context, "key", &slots, &count);
    const MallocPtr<InstanceSlot> owner(slots);
    return code == 0 ? static_cast<int>(count) : -1;
}

int countFields(redisContext* context) {
    unsigned int count = 0;
    const MallocPtr<FieldValuePair> all(osselHashGetAll(context, "key", &count));
    return all == nullptr ? -1 : static_cast<int>(count);
}

int createHash(redisContext* context) {
    const FieldValuePair pair = test::field("name", "value");
    return osselCreateHashTable(context, "key", &pair, 1);
}

int createEvents(redisContext* context, int count) {
    const std::array<OsselEvent, 2> events{};
    return osselCreateEventObject(context, "source", 0, events.data(), count);
}

int createSet(redisContext* context) {
    test::Slots slots({"a", "b"});
    return osselCreateSetTable(context, "key", slots.data(), slots.count());
}

int readField(redisContext* context) {
    std::array<char, 256> buffer{};
    return osselGetHashField(context, "key", "name", buffer.data());
}

// Those that may be sent twice, and those that may not.
std::vector<Call> repeatable() {
    return {
        {"osselCreateReturnMessage",
         [](redisContext* c) {
             return osselCreateReturnMessage(c, "uuid", "Id", "a", kNoArgument) == 0;
         }},
        {"osselCreateHashTable", [](redisContext* c) { return createHash(c) == 0; }},
        {"osselDeleteHash", [](redisContext* c) { return osselDeleteHash(c, "key") == 0; }},
        {"osselGetHashField", [](redisContext* c) { return readField(c) == 0; }},
        {"osselHashGetAll", [](redisContext* c) { return countFields(c) > 0; }},
        {"osselIsFieldMatched",
         [](redisContext* c) { return osselIsFieldMatched(c, "key", "name", "value") != 0; }},
        {"osselHashAppendTTLObject",
         [](redisContext* c) { return osselHashAppendTTLObject(c, "key", 5) == 0; }},
        {"osselHashAppendTTLObject without time",
         [](redisContext* c) { return osselHashAppendTTLObject(c, "key", 0) == 0; }},
        {"osselClearETagCache", [](redisContext* c) { return osselClearETagCache(c, "key") == 0; }},
        {"osselListRightPush",
         [](redisContext* c) { return osselListRightPush(c, "key", "v") == 0; }},
        {"osselSADD", [](redisContext* c) { return osselSADD(c, "key", "v", 0) == 0; }},
        {"osselSMembers", [](redisContext* c) { return countMembers(c) >= 0; }},
        {"osselCreateSetTable", [](redisContext* c) { return createSet(c) == 0; }},
        {"osselRenewCollection",
         [](redisContext* c) { return osselRenewCollection(c, 0, "collection", "set", 0) == 0; }},
    };
}
std::vector<Call> notRepeatable() {
    return {
        {"osselPublishToChannel",
         [](redisContext* c) { return osselPublishToChannel(c, "channel", "message") == 0; }},
        {"osselLREM", [](redisContext* c) { return osselLREM(c, "key", 1, "v") == 0; }},
        {"osselRemoveInstanceFromSet",
         [](redisContext* c) { return osselRemoveInstanceFromSet(c, "key", "v") == 0; }},
        {"osselCreateEventObject", [](redisContext* c) { return createEvents(c, 1) == 0; }},
        {"osselCreateEventObject with two",
         [](redisContext* c) { return createEvents(c, 2) == 0; }},
    };
}

std::vector<Call> allCalls() {
    std::vector<Call> all = repeatable();
    const std::vector<Call> others = notRepeatable();
    all.insert(all.end(), others.begin(), others.end());
    return all;
}

// Whether the request has this word as the name of a command.
bool has(const std::string& request, const std::string& command) {
    return request.find("\r\n" + command + "\r\n") != std::string::npos;
}

// What a well-behaved server answers to the calls above.
std::string properAnswer(const std::string& request) {
    struct Row {
        const char* command;
        const char* answer;
    };
    for (const Row& row : {
             Row{"MULTI", "+OK\r\n+QUEUED\r\n+QUEUED\r\n*2\r\n:1\r\n:2\r\n"},
             Row{"EXPIRE", ":2\r\n:1\r\n"},
             Row{"HGET", "$5\r\nvalue\r\n"},
             Row{"HGETALL", "*2\r\n$4\r\nname\r\n$5\r\nvalue\r\n"},
             Row{"SMEMBERS", "*1\r\n$1\r\na\r\n"},
             Row{"SET", "+OK\r\n"},
             Row{"XADD", "$3\r\n1-1\r\n"},
         }) {
        if (has(request, row.command)) {
            return row.answer;
        }
    }
    return ":1\r\n";
}

TEST(OddServer, ThatAnswersProperlyLetsEveryCallSucceed) {
    OddServer server(
        [](const std::string& request) { return OddServer::Answer{properAnswer(request)}; });
    const test::OsselConnection context = connectTo(server.address());
    ASSERT_NE(context, nullptr);
    for (const Call& call : allCalls()) {
        EXPECT_TRUE(call.succeeds(context.get())) << call.name;
    }
    // One round trip for each.
    EXPECT_THAT(server.requests(), SizeIs(allCalls().size()));
}

TEST(OddServer, MayAnswerInPieces) {
    OddServer server([](const std::string& request) {
        return OddServer::Answer{properAnswer(request), false, true};
    });
    const test::OsselConnection context = connectTo(server.address());
    ASSERT_NE(context, nullptr);
    for (const Call& call : allCalls()) {
        EXPECT_TRUE(call.succeeds(context.get())) << call.name;
    }
}

TEST(OddServer, MakesEveryCallFailWithBrokenReplies) {
    const std::string nested = [] {
        std::string text;
        for (int i = 0; i < 20; ++i) {
            text += "*1\r\n";
        }
        return text + ":1\r\n";
    }();
    for (const std::string& broken : std::vector<std::string>{"",
                                                              "\r\n",
                                                              "garbage\r\n",
                                                              "HTTP/1.1 400 Bad Request\r\n\r\n",
                                                              std::string(3, '\0'),
                                                              ":\r\n",
                                                              ":x1\r\n",
                                                              ":99999999999999999999999\r\n",
                                                              ":1",
                                                              "$5\r\nab",
                                                              "$-2\r\n",
                                                              "$x\r\n",
                                                              "$99999999999\r\nab",
                                                              "$9223372036854775807\r\nab",
                                                              "*2\r\n:1\r\n",
                                                              "*-2\r\n",
                                                              "*2147483647\r\n",
                                                              "*1073741825\r\n:1\r\n",
                                                              "*4294967297\r\n:1\r\n",
                                                              "*1048577\r\n:1\r\n",
                                                              "%1\r\n:1\r\n:1\r\n",
                                                              "*1\r\n*1\r\n*1\r\n?\r\n",
                                                              nested}) {
        OddServer server([&](const std::string&) { return OddServer::Answer{broken, true}; });
        const test::OsselConnection context = connectTo(server.address());
        ASSERT_NE(context, nullptr);
        errorsOf([&] {
            for (const Call& call : allCalls()) {
                EXPECT_FALSE(call.succeeds(context.get())) << call.name << " on " << broken;
            }
        });
    }
}

TEST(OddServer, ThatAnnouncesGigabytesGetsNoMemoryForThem) {
    constexpr std::size_t kLittle = 256; // MiB, with the arenas of the servers' threads
    for (const std::string greedy :
         {"*100000000\r\n", "*1048000\r\n*1048000\r\n", "*1\r\n*1\r\n*100000000\r\n",
          "$8000000000\r\n", "*1\r\n$8000000000\r\n"}) {
        OddServer server([&](const std::string&) { return OddServer::Answer{greedy}; });
        const test::OsselConnection context = connectTo(server.address());
        ASSERT_NE(context, nullptr);
        EXPECT_LT(test::memoryTakenBy([&] {
                      errorsOf([&] {
                          for (const Call& call : allCalls()) {
                              EXPECT_FALSE(call.succeeds(context.get())) << call.name;
                          }
                      });
                  }),
                  kLittle)
            << greedy;
    }
}

TEST(OddServer, MakesEveryCallFailWithRepliesOfAnotherType) {
    // Each is right for none of the calls.
    for (const std::string& other : std::vector<std::string>{
             "*2\r\n:1\r\n:2\r\n", "*1\r\n*1\r\n$1\r\na\r\n", "*1\r\n$-1\r\n", "*-1\r\n",
             "*2\r\n$1\r\na\r\n:1\r\n", "$-1\r\n", "-ERR no\r\n", "-\r\n",
             "-NOAUTH Authentication required.\r\n", "-READONLY You can't write\r\n",
             "-OOM command not allowed\r\n"}) {
        OddServer server([&](const std::string& request) {
            const bool several = has(request, "MULTI") || has(request, "EXPIRE");
            std::string answer = other;
            for (int i = 0; several && i < 3; ++i) {
                answer += other;
            }
            return OddServer::Answer{answer, true};
        });
        const test::OsselConnection context = connectTo(server.address());
        ASSERT_NE(context, nullptr);
        errorsOf([&] {
            for (const Call& call : allCalls()) {
                EXPECT_FALSE(call.succeeds(context.get())) << call.name << " on " << other;
            }
        });
    }
}

TEST(OddServer, MakesATransactionFailWhateverPartOfItIsRefused) {
    const std::string ok = "+OK\r\n+QUEUED\r\n+QUEUED\r\n";
    for (const std::string& refused : std::vector<std::string>{
             "-ERR no\r\n+QUEUED\r\n+QUEUED\r\n*2\r\n:1\r\n:1\r\n",
             "+OK\r\n-OOM no\r\n+QUEUED\r\n-EXECABORT\r\n",
             "+OK\r\n+QUEUED\r\n-OOM no\r\n-EXECABORT\r\n", ok + "-EXECABORT\r\n", ok + "*-1\r\n",
             ok + "*0\r\n", ok + "*1\r\n:1\r\n", ok + "*3\r\n:1\r\n:1\r\n:1\r\n",
             ok + "*2\r\n-ERR no\r\n:1\r\n", ok + "*2\r\n:1\r\n-ERR no\r\n", ok + ":2\r\n"}) {
        OddServer server([&](const std::string&) { return OddServer::Answer{refused}; });
        const test::OsselConnection context = connectTo(server.address());
        ASSERT_NE(context, nullptr);
        errorsOf([&] {
            EXPECT_NE(createSet(context.get()), 0) << refused;
            EXPECT_NE(osselRenewCollection(context.get(), 1, "collection", "set", 0), 0) << refused;
            EXPECT_NE(createEvents(context.get(), 2), 0) << refused;
        });
    }
}

TEST(OddServer, ThatClosesBeforeAnsweringIsAskedOnceMoreWhereThatIsHarmless) {
    for (const Call& call : repeatable()) {
        int asked = 0;
        OddServer server([&asked](const std::string& request) {
            const bool first = asked++ == 0;
            return first ? OddServer::Answer{"", true} : OddServer::Answer{properAnswer(request)};
        });
        const test::OsselConnection context = connectTo(server.address());
        ASSERT_NE(context, nullptr);
        EXPECT_EQ(errorsOf([&] { EXPECT_TRUE(call.succeeds(context.get())) << call.name; }), "");
        const std::vector<std::string> requests = server.requests();
        ASSERT_THAT(requests, SizeIs(2)) << call.name;
        EXPECT_EQ(requests[0], requests[1]) << call.name;
    }
}

TEST(OddServer, ThatKeepsClosingIsAskedNoMoreThanTwice) {
    OddServer server([](const std::string&) { return OddServer::Answer{":", true}; });
    const test::OsselConnection context = connectTo(server.address());
    ASSERT_NE(context, nullptr);
    const std::string errors =
        errorsOf([&] { EXPECT_NE(osselDeleteHash(context.get(), "key"), 0); });
    EXPECT_EQ(errors,
              "ossel: lost redis at " + server.address() + ": Server closed the connection\n");
    EXPECT_THAT(server.requests(), SizeIs(2));
}

TEST(OddServer, ThatClosesBeforeAnsweringIsAskedOnlyOnceWhereRepeatingDoesHarm) {
    for (const Call& call : notRepeatable()) {
        int asked = 0;
        OddServer server([&asked](const std::string& request) {
            const bool first = asked++ == 0;
            return first ? OddServer::Answer{"", true} : OddServer::Answer{properAnswer(request)};
        });
        const test::OsselConnection context = connectTo(server.address());
        ASSERT_NE(context, nullptr);
        const std::string errors =
            errorsOf([&] { EXPECT_FALSE(call.succeeds(context.get())) << call.name; });
        EXPECT_EQ(errors,
                  "ossel: lost redis at " + server.address() + ": Server closed the connection\n");
        EXPECT_THAT(server.requests(), SizeIs(1)) << call.name;
        EXPECT_TRUE(call.succeeds(context.get())) << call.name;
    }
}

TEST(OddServer, ThatClosesAfterEachAnswerIsReachedAnewForEveryCall) {
    OddServer server([](const std::string& request) {
        return OddServer::Answer{properAnswer(request), true};
    });
    const test::OsselConnection context = connectTo(server.address());
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(errorsOf([&] {
                  for (const Call& call : repeatable()) {
                      EXPECT_TRUE(call.succeeds(context.get())) << call.name;
                  }
              }),
              "");
}

TEST(OddServer, ThatSendsSomethingUnaskedNeverHasItTakenForAReply) {
    OddServer server(
        [](const std::string& request) { return OddServer::Answer{properAnswer(request)}; });
    const test::OsselConnection context = connectTo(server.address());
    ASSERT_NE(context, nullptr);
    for (const Call& call : allCalls()) {
        ASSERT_TRUE(call.succeeds(context.get())) << call.name;
        server.push("-ERR nobody asked\r\n");
        EXPECT_TRUE(call.succeeds(context.get())) << call.name;
    }
}

TEST(OddServer, ThatAnswersTwiceIsNotBelieved) {
    int asked = 0;
    OddServer server([&asked](const std::string&) {
        return OddServer::Answer{asked++ == 0 ? "$5\r\nfirst\r\n$5\r\nother\r\n"
                                              : "$5\r\nvalue\r\n"};
    });
    const test::OsselConnection context = connectTo(server.address());
    ASSERT_NE(context, nullptr);
    EXPECT_THAT(errorsOf([&] { EXPECT_NE(readField(context.get()), 0); }),
                HasSubstr("more was answered than asked"));
    EXPECT_EQ(readField(context.get()), 0);
    EXPECT_EQ(osselIsFieldMatched(context.get(), "key", "name", "value"), 1);
}

TEST(OddServer, ThatNeverAnswersIsNotAskedTwice) {
    OddServer server([](const std::string&) { return OddServer::Answer{}; });
    const test::OsselConnection context = connectTo(server.address());
    ASSERT_NE(context, nullptr);
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(errorsOf([&] { EXPECT_NE(readField(context.get()), 0); }),
              "ossel: lost redis at " + server.address() + ": no answer within 2 s\n");
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(1950));
    EXPECT_THAT(server.requests(), SizeIs(1));
}

TEST(OddServer, ThatNeverComesToAnEndIsLeftAfterTheTimeLimit) {
    OddServer server([](const std::string&) {
        return OddServer::Answer{"$10000\r\n" + std::string(10000, 'x'), false, true,
                                 std::chrono::milliseconds(20)};
    });
    test::OsselConnection context = connectTo(server.address());
    ASSERT_NE(context, nullptr);
    const Clock::time_point start = Clock::now();
    EXPECT_THAT(errorsOf([&] { EXPECT_NE(readField(context.get()), 0); }),
                HasSubstr("no answer within 2 s"));
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(6));
    context.reset();
}

TEST(OddServer, ThatGoesAwayInMidWriteDoesNotEndTheProcess) {
    OddServer server([](const std::string&) { return OddServer::Answer{"", true}; });
    const test::OsselConnection context = connectTo(server.address());
    ASSERT_NE(context, nullptr);
    // More than the socket buffers hold, so that the connection breaks in mid-write.
    const std::vector<FieldValuePair> fields(
        4000, test::field(std::string(1000, 'n'), std::string(1000, 'v')));
    EXPECT_NE(errorsOf([&] {
                  EXPECT_NE(osselCreateHashTable(context.get(), "key", fields.data(),
                                                 static_cast<int>(fields.size())),
                            0);
              }),
              "");
    struct sigaction action {};
    ASSERT_EQ(::sigaction(SIGPIPE, nullptr, &action), 0);
    EXPECT_EQ(action.sa_handler, SIG_IGN);
}

} // namespace
