// Return messages, publications, events, UUIDs, connections and schema look-ups.
#include "tests/platform/contract/object_store_fixture.h"

#include <cstring>

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr const char* kEnd = nullptr;
constexpr const char* kRegistry = "OsselSchemaInstances";

class Messages : public ObjectStore {};

TEST_F(Messages, HoldTheirIdAndUpToFiveArguments) {
    EXPECT_EQ(osselCreateReturnMessage(connection(), "none", "Success", kEnd), 0);
    EXPECT_THAT(fields("none"), ElementsAre(Pair("MessageId", "Success")));
    EXPECT_EQ(osselCreateReturnMessage(connection(), "five", "Id", "a", "b", "", "d", "e", kEnd),
              0);
    EXPECT_THAT(fields("five"), ElementsAre(Pair("MessageArgs.0", "a"), Pair("MessageArgs.1", "b"),
                                            Pair("MessageArgs.2", ""), Pair("MessageArgs.3", "d"),
                                            Pair("MessageArgs.4", "e"), Pair("MessageId", "Id")));
}

TEST_F(Messages, HoldNoMoreThanFiveArguments) {
    EXPECT_NE(
        osselCreateReturnMessage(connection(), "six", "Id", "a", "b", "c", "d", "e", "f", kEnd), 0);
    EXPECT_NE(osselCreateReturnMessage(connection(), "six", "Id", "a", "b", "c", "d", "e", "f", "g",
                                       kEnd),
              0);
    EXPECT_THAT(fields("six"), IsEmpty());
}

TEST_F(Messages, AreAddedToAHashAndToNoOtherKindOfKey) {
    makeOneOfEachKind();
    EXPECT_EQ(osselCreateReturnMessage(connection(), "hash", "Id", kEnd), 0);
    EXPECT_THAT(fields("hash"), ElementsAre(Pair("A", "1"), Pair("MessageId", "Id")));
    EXPECT_NE(osselCreateReturnMessage(connection(), "list", "Id", kEnd), 0);
    EXPECT_NE(osselCreateReturnMessage(connection(), "set", "Id", kEnd), 0);
    EXPECT_THAT(members("list"), ElementsAre("a"));
    EXPECT_THAT(members("set"), ElementsAre("a"));
}

TEST_F(Messages, ArePublishedWithoutSubscribersToo) {
    EXPECT_EQ(osselPublishToChannel(connection(), "nobody listens", "text"), 0);
    EXPECT_EQ(osselPublishToChannel(connection(), "nobody listens", ""), 0);
}

class Events : public ObjectStore {
protected:
    static OsselEvent event(int argumentCount, const char* arguments) {
        OsselEvent event{};
        copyBounded(event.kind, "MESSAGE");
        event.argumentCount = argumentCount;
        event.arguments = arguments;
        return event;
    }
};

TEST_F(Events, AreAppendedToTheirSource) {
    Slots arguments({"first", std::string(1023, 'x')});
    const std::array<OsselEvent, 2> events{event(0, nullptr), event(2, arguments.data()[0])};
    EXPECT_EQ(osselCreateEventObject(connection(), "source", 0, events.data(), 1), 0);
    EXPECT_EQ(osselCreateEventObject(connection(), "source", 0, events.data(), 2), 0);
    EXPECT_EQ(store.events("source"), 3);
    EXPECT_EQ(store.events("other"), 0);
}

TEST_F(Events, EndAnArgumentWithItsSlot) {
    auto slots = std::make_unique<InstanceSlot[]>(1);
    std::memset(slots[0], 'x', sizeof slots[0]);
    const OsselEvent one = event(1, slots[0]);
    EXPECT_EQ(osselCreateEventObject(connection(), "source", 0, &one, 1), 0);
    EXPECT_EQ(store.events("source"), 1);
}

TEST_F(Events, AreNotAppendedWhereThereAreNoneOrTheirArgumentsAreMissing) {
    const OsselEvent good = event(0, nullptr);
    EXPECT_NE(osselCreateEventObject(connection(), "source", 0, &good, 0), 0);
    EXPECT_NE(osselCreateEventObject(connection(), "source", 0, &good, -1), 0);
    const std::array<OsselEvent, 2> withoutTexts{good, event(1, nullptr)};
    EXPECT_NE(osselCreateEventObject(connection(), "source", 0, withoutTexts.data(), 2), 0);
    const OsselEvent negative = event(-1, nullptr);
    EXPECT_NE(osselCreateEventObject(connection(), "source", 0, &negative, 1), 0);
    EXPECT_EQ(store.events("source"), 0);
}

class Uuids : public ObjectStore {};

TEST_F(Uuids, HaveThirtySixCharactersAndDiffer) {
    std::array<char, 40> first{};
    first.fill('#');
    ASSERT_EQ(osselGenerateUUID(connection(), first.data()), 0);
    EXPECT_EQ(std::strlen(first.data()), 36U);
    for (const std::size_t dash : {8U, 13U, 18U, 23U}) {
        EXPECT_EQ(first.at(dash), '-') << dash;
    }
    EXPECT_EQ(std::string(first.begin() + 37, first.end()), "###");
    std::array<char, 37> second{};
    ASSERT_EQ(osselGenerateUUID(connection(), second.data()), 0);
    EXPECT_STRNE(first.data(), second.data());
}

class SchemaLookUps : public ObjectStore {
protected:
    void SetUp() override {
        ObjectStore::SetUp();
        const FieldValuePair entry = pairOf("title:#A.1.0.0.A", "id");
        ASSERT_EQ(osselCreateHashTable(connection(), kRegistry, &entry, 1), 0);
        const std::array<FieldValuePair, 2> properties{
            pairOf("definitions", std::string(1000, 'x')), pairOf("empty", "")};
        ASSERT_EQ(osselCreateHashTable(connection(), "id", properties.data(), 2), 0);
    }

    static std::string found(char* text) {
        const MallocPtr<char> owner(text);
        return text == nullptr ? "(null)" : text;
    }
};

TEST_F(SchemaLookUps, GiveWholeTextsInMemoryOfTheCAllocator) {
    EXPECT_EQ(found(olGetSchemaTypeIdByField(kRegistry, "title", "#A.1.0.0.A")), "id");
    EXPECT_EQ(found(olObjGetProperty("id", "definitions")), std::string(1000, 'x'));
    EXPECT_EQ(found(olObjGetProperty("id", "empty")), "");
}

TEST_F(SchemaLookUps, GiveNullForWhatIsMissingOrNotInAHash) {
    makeList();
    EXPECT_EQ(olGetSchemaTypeIdByField(kRegistry, "title", "#B.1.0.0.B"), nullptr);
    EXPECT_EQ(olGetSchemaTypeIdByField(kRegistry, "name", "#A.1.0.0.A"), nullptr);
    EXPECT_EQ(olGetSchemaTypeIdByField("absent", "title", "#A.1.0.0.A"), nullptr);
    EXPECT_EQ(olGetSchemaTypeIdByField("list", "title", "#A.1.0.0.A"), nullptr);
    EXPECT_EQ(olObjGetProperty("id", "absent"), nullptr);
    EXPECT_EQ(olObjGetProperty("absent", "definitions"), nullptr);
    EXPECT_EQ(olObjGetProperty("list", "definitions"), nullptr);
}

TEST_F(SchemaLookUps, WorkOnTheConnectionThatWasOpenedFirst) {
    redisContext* const second = osselRedisConnect();
    ASSERT_NE(second, nullptr);
    osselRedisDisconnect(second);
    EXPECT_EQ(found(olObjGetProperty("id", "empty")), "");
    redisContext* const third = osselRedisConnect();
    store.disconnect();
    EXPECT_EQ(olObjGetProperty("id", "empty"), nullptr);
    EXPECT_EQ(olGetSchemaTypeIdByField(kRegistry, "title", "#A.1.0.0.A"), nullptr);
    osselRedisDisconnect(third);
    redisContext* const fourth = osselRedisConnect();
    EXPECT_EQ(found(olObjGetProperty("id", "empty")), "");
    osselRedisDisconnect(fourth);
}

TEST_F(SchemaLookUps, GiveNullWithoutAConnection) {
    store.disconnect();
    EXPECT_EQ(olGetSchemaTypeIdByField(kRegistry, "title", "#A.1.0.0.A"), nullptr);
    EXPECT_EQ(olObjGetProperty("id", "empty"), nullptr);
}

} // namespace
} // namespace contract
