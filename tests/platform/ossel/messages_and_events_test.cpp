// UUIDs, return messages, publications and events, sentence by sentence of the contract.
#include "tests/platform/ossel/store_test.h"

#include <climits>
#include <cstring>
#include <gmock/gmock.h>
#include <hiredis/hiredis.h>
#include <set>

namespace {

using test::errorsOf;
using testing::HasSubstr;

using GenerateUuid = test::StoreTest;
using ReturnMessages = test::StoreTest;
using Publish = test::StoreTest;
using Events = test::StoreTest;

constexpr const char* kNoMore = nullptr;

TEST_F(GenerateUuid, WritesARandomOneOfVersionFourAndItsNul) {
    std::array<char, 40> text{};
    text.fill('#');
    EXPECT_EQ(osselGenerateUUID(context.get(), text.data()), 0);
    EXPECT_EQ(std::strlen(text.data()), 36U);
    EXPECT_EQ(text[37], '#');
    const std::string uuid = text.data();
    for (std::size_t i = 0; i < uuid.size(); ++i) {
        const std::string allowed = i == 8 || i == 13 || i == 18 || i == 23 ? "-"
                                    : i == 14                               ? "4"
                                    : i == 19                               ? "89ab"
                                                                            : "0123456789abcdef";
        EXPECT_NE(allowed.find(uuid[i]), std::string::npos) << uuid << " at " << i;
    }
}

TEST_F(GenerateUuid, GivesADifferentOneEachTimeAndNeedsNoServer) {
    redis.stop();
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        std::array<char, 37> text{};
        ASSERT_EQ(osselGenerateUUID(context.get(), text.data()), 0);
        seen.insert(text.data());
    }
    EXPECT_EQ(seen.size(), 1000U);
}

TEST_F(ReturnMessages, HoldTheIdAloneWhenThereAreNoArguments) {
    EXPECT_EQ(osselCreateReturnMessage(context.get(), "uuid", "Success", kNoMore), 0);
    EXPECT_EQ(redis.command({"HGETALL", "uuid"}), "MessageId Success");
}

TEST_F(ReturnMessages, HoldUpToFiveArgumentsInOrder) {
    EXPECT_EQ(
        osselCreateReturnMessage(context.get(), "uuid", "Id", "a", "", "c", "d", "e", kNoMore), 0);
    EXPECT_EQ(redis.command({"HLEN", "uuid"}), "6");
    EXPECT_EQ(redis.command({"HMGET", "uuid", "MessageId", "MessageArgs.0", "MessageArgs.1",
                             "MessageArgs.2", "MessageArgs.3", "MessageArgs.4"}),
              "Id a  c d e");
}

TEST_F(ReturnMessages, WithMoreThanFiveArgumentsAreNotStored) {
    EXPECT_NE(osselCreateReturnMessage(context.get(), "uuid", "Id", "a", "b", "c", "d", "e", "f",
                                       "g", kNoMore),
              0);
    EXPECT_EQ(redis.command({"EXISTS", "uuid"}), "0");
}

TEST_F(ReturnMessages, ExpireAfterSixtySeconds) {
    EXPECT_EQ(osselCreateReturnMessage(context.get(), "uuid", "Success", kNoMore), 0);
    const int left = std::stoi(redis.command({"PTTL", "uuid"}));
    EXPECT_GT(left, 50000);
    EXPECT_LE(left, 60000);
}

TEST_F(ReturnMessages, FailUnderAKeyOfAnotherKind) {
    redis.command({"SET", "uuid", "text"});
    EXPECT_THAT(errorsOf([&] {
                    EXPECT_NE(osselCreateReturnMessage(context.get(), "uuid", "Id", kNoMore), 0);
                }),
                HasSubstr("HSET uuid: WRONGTYPE"));
}

TEST_F(Publish, SucceedsWhenNobodyListens) {
    EXPECT_EQ(osselPublishToChannel(context.get(), "channel", "message"), 0);
}

TEST_F(Publish, ReachesWhoListens) {
    const std::unique_ptr<redisContext, decltype(&redisFree)> listener(
        redisConnectUnix(redis.socketPath().c_str()), redisFree);
    using Reply = std::unique_ptr<redisReply, decltype(&freeReplyObject)>;
    const Reply subscribed(
        static_cast<redisReply*>(redisCommand(listener.get(), "SUBSCRIBE channel")),
        freeReplyObject);
    ASSERT_NE(subscribed, nullptr);
    EXPECT_EQ(osselPublishToChannel(context.get(), "channel", "two words %s"), 0);
    void* raw = nullptr;
    ASSERT_EQ(redisGetReply(listener.get(), &raw), REDIS_OK);
    const Reply message(static_cast<redisReply*>(raw), freeReplyObject);
    ASSERT_EQ(message->elements, 3U);
    EXPECT_STREQ(message->element[1]->str, "channel");
    EXPECT_STREQ(message->element[2]->str, "two words %s");
}

OsselEvent event(const char* message) {
    OsselEvent event{};
    copyBounded(event.eventType, "ResourceUpdated");
    copyBounded(event.kind, "MESSAGE");
    copyBounded(event.message, message);
    copyBounded(event.messageId, "Base.1.0.Msg000");
    return event;
}

TEST_F(Events, AreEntriesOfTheSourcesStream) {
    test::Slots arguments({"WebGUI00", "two words"});
    OsselEvent updated = event("Resource updated");
    updated.argumentCount = 2;
    updated.arguments = arguments.data()[0];
    copyBounded(updated.origin, "80000000-0000-0000-0000-008000000000");
    EXPECT_EQ(osselCreateEventObject(context.get(), "Some Event", 0, &updated, 1), 0);
    const std::string entry = redis.command({"XRANGE", "Events:Some Event", "-", "+"});
    EXPECT_THAT(entry, testing::EndsWith(
                           " EventType ResourceUpdated Kind MESSAGE Message Resource updated "
                           "MessageId Base.1.0.Msg000 MessageArgs.0 WebGUI00 MessageArgs.1 two "
                           "words OriginOfCondition 80000000-0000-0000-0000-008000000000"));
}

TEST_F(Events, LeaveOutNothingButAnEmptyOrigin) {
    const OsselEvent empty{};
    EXPECT_EQ(osselCreateEventObject(context.get(), "source", 0, &empty, 1), 0);
    EXPECT_THAT(redis.command({"XRANGE", "Events:source", "-", "+"}),
                testing::EndsWith(" EventType  Kind  Message  MessageId "));
}

TEST_F(Events, ReadNoFurtherThanTheFieldsWhenANulIsMissing) {
    test::Slots arguments({"", "next"});
    std::memset(arguments.data()[0], 'a', sizeof(InstanceSlot));
    OsselEvent full{};
    std::memset(full.eventType, 't', sizeof(full.eventType));
    std::memset(full.kind, 'k', sizeof(full.kind));
    std::memset(full.message, 'm', sizeof(full.message));
    std::memset(full.messageId, 'i', sizeof(full.messageId));
    std::memset(full.origin, 'o', sizeof(full.origin));
    std::memset(full.reserved2, 'r', sizeof(full.reserved2));
    full.argumentCount = 1;
    full.arguments = arguments.data()[0];
    EXPECT_EQ(osselCreateEventObject(context.get(), "source", 0, &full, 1), 0);
    EXPECT_THAT(redis.command({"XRANGE", "Events:source", "-", "+"}),
                testing::EndsWith(" EventType " + std::string(256, 't') + " Kind " +
                                  std::string(256, 'k') + " Message " + std::string(256, 'm') +
                                  " MessageId " + std::string(256, 'i') + " MessageArgs.0 " +
                                  std::string(1024, 'a') + " OriginOfCondition " +
                                  std::string(37, 'o')));
}

TEST_F(Events, OfOneCallAppearTogetherAndInOrder) {
    const std::array events{event("first"), event("second"), event("third")};
    EXPECT_EQ(osselCreateEventObject(context.get(), "source", 0, events.data(), 3), 0);
    EXPECT_EQ(redis.command({"XLEN", "Events:source"}), "3");
    const std::string entries = redis.command({"XRANGE", "Events:source", "-", "+"});
    EXPECT_LT(entries.find("first"), entries.find("second"));
    EXPECT_LT(entries.find("second"), entries.find("third"));
}

TEST_F(Events, OfOneCallAppearTogetherOrNotAtAll) {
    test::Slots arguments({"a"});
    std::array events{event("first"), event("second")};
    events[1].argumentCount = -1;
    EXPECT_NE(osselCreateEventObject(context.get(), "source", 0, events.data(), 2), 0);
    events[1].argumentCount = 1;
    events[1].arguments = nullptr;
    EXPECT_NE(osselCreateEventObject(context.get(), "source", 0, events.data(), 2), 0);
    EXPECT_EQ(redis.command({"EXISTS", "Events:source"}), "0");
}

TEST_F(Events, FailForACountBelowOne) {
    const OsselEvent one = event("one");
    EXPECT_NE(osselCreateEventObject(context.get(), "source", 0, &one, 0), 0);
    EXPECT_NE(osselCreateEventObject(context.get(), "source", 0, &one, INT_MIN), 0);
    EXPECT_EQ(redis.command({"EXISTS", "Events:source"}), "0");
}

TEST_F(Events, AreKeptInANumberNearOneThousand) {
    const std::vector<OsselEvent> many(100, event("one of many"));
    for (int i = 0; i < 15; ++i) {
        ASSERT_EQ(osselCreateEventObject(context.get(), "source", 0, many.data(), 100), 0);
    }
    const int kept = std::stoi(redis.command({"XLEN", "Events:source"}));
    EXPECT_GE(kept, 1000);
    EXPECT_LE(kept, 1100);
}

TEST_F(Events, FailUnderAKeyOfAnotherKind) {
    redis.command({"SET", "Events:source", "text"});
    const std::array events{event("first"), event("second")};
    EXPECT_THAT(errorsOf([&] {
                    EXPECT_NE(osselCreateEventObject(context.get(), "source", 0, events.data(), 1),
                              0);
                }),
                HasSubstr("XADD Events:source: WRONGTYPE"));
    EXPECT_NE(osselCreateEventObject(context.get(), "source", 0, events.data(), 2), 0);
}

} // namespace
