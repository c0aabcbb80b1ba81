// Null arguments of the object store's functions: each call fails and leaves the store alone.
#include "tests/platform/contract/object_store_fixture.h"

#include <functional>

namespace contract {
namespace {

using testing::ElementsAre;
using testing::Pair;

constexpr const char* kNoMore = nullptr;

class NullArguments : public ObjectStore {
protected:
    void SetUp() override {
        ObjectStore::SetUp();
        makeOneOfEachKind();
    }
    void TearDown() override {
        EXPECT_THAT(fields("hash"), ElementsAre(Pair("A", "1")));
        EXPECT_THAT(members("list"), ElementsAre("a"));
        EXPECT_THAT(members("set"), ElementsAre("a"));
    }

    FieldValuePair pair_ = pairOf("A", "2");
    Slots slots_{{"b"}};
    OsselEvent event_{};
    std::array<char, 256> text_{'#'};
    InstanceSlot* members_ = nullptr;
    unsigned int count_ = 9;
};

TEST_F(NullArguments, InPlaceOfTheConnectionFail) {
    redisContext* const none = nullptr;
    EXPECT_NE(osselGenerateUUID(none, text_.data()), 0);
    EXPECT_NE(osselCreateReturnMessage(none, "hash", "Id", kNoMore), 0);
    EXPECT_NE(osselPublishToChannel(none, "channel", "text"), 0);
    EXPECT_NE(osselCreateHashTable(none, "hash", &pair_, 1), 0);
    EXPECT_NE(osselDeleteHash(none, "hash"), 0);
    EXPECT_NE(osselGetHashField(none, "hash", "A", text_.data()), 0);
    EXPECT_EQ(osselHashGetAll(none, "hash", &count_), nullptr);
    EXPECT_EQ(std::exchange(count_, 9), 0U);
    EXPECT_EQ(osselIsFieldMatched(none, "hash", "A", "1"), 0);
    EXPECT_NE(osselHashAppendTTLObject(none, "hash", 9), 0);
    EXPECT_NE(osselClearETagCache(none, "hash"), 0);
    EXPECT_NE(osselListRightPush(none, "list", "b"), 0);
    EXPECT_NE(osselLREM(none, "list", 0, "a"), 0);
    EXPECT_NE(osselSADD(none, "set", "b", 0), 0);
    EXPECT_NE(osselRemoveInstanceFromSet(none, "set", "a"), 0);
    EXPECT_NE(osselSMembers(none, "set", &members_, &count_), 0);
    EXPECT_EQ(count_, 0U);
    EXPECT_NE(osselCreateSetTable(none, "set", slots_.data(), 1), 0);
    EXPECT_NE(osselRenewCollection(none, 0, "collection", "set", 0), 0);
    EXPECT_NE(osselCreateEventObject(none, "source", 0, &event_, 1), 0);
    osselRedisDisconnect(none);
}

TEST_F(NullArguments, InPlaceOfATextFail) {
    redisContext* const context = connection();
    EXPECT_NE(osselCreateReturnMessage(context, nullptr, "Id", kNoMore), 0);
    EXPECT_NE(osselCreateReturnMessage(context, "hash", nullptr, kNoMore), 0);
    EXPECT_NE(osselPublishToChannel(context, nullptr, "text"), 0);
    EXPECT_NE(osselPublishToChannel(context, "channel", nullptr), 0);
    EXPECT_NE(osselCreateHashTable(context, nullptr, &pair_, 1), 0);
    EXPECT_NE(osselDeleteHash(context, nullptr), 0);
    EXPECT_NE(osselGetHashField(context, nullptr, "A", text_.data()), 0);
    EXPECT_NE(osselGetHashField(context, "hash", nullptr, text_.data()), 0);
    EXPECT_EQ(text_[0], '#');
    EXPECT_EQ(osselHashGetAll(context, nullptr, &count_), nullptr);
    EXPECT_EQ(std::exchange(count_, 9), 0U);
    EXPECT_EQ(osselIsFieldMatched(context, nullptr, "A", "1"), 0);
    EXPECT_EQ(osselIsFieldMatched(context, "hash", nullptr, "1"), 0);
    EXPECT_EQ(osselIsFieldMatched(context, "hash", "A", nullptr), 0);
    EXPECT_NE(osselHashAppendTTLObject(context, nullptr, 9), 0);
    EXPECT_NE(osselClearETagCache(context, nullptr), 0);
    EXPECT_NE(osselListRightPush(context, nullptr, "b"), 0);
    EXPECT_NE(osselListRightPush(context, "list", nullptr), 0);
    EXPECT_NE(osselLREM(context, nullptr, 0, "a"), 0);
    EXPECT_NE(osselLREM(context, "list", 0, nullptr), 0);
    EXPECT_NE(osselSADD(context, nullptr, "b", 0), 0);
    EXPECT_NE(osselSADD(context, "set", nullptr, 0), 0);
    EXPECT_NE(osselRemoveInstanceFromSet(context, nullptr, "a"), 0);
    EXPECT_NE(osselRemoveInstanceFromSet(context, "set", nullptr), 0);
    EXPECT_NE(osselSMembers(context, nullptr, &members_, &count_), 0);
    EXPECT_EQ(count_, 0U);
    EXPECT_NE(osselCreateSetTable(context, nullptr, slots_.data(), 1), 0);
    EXPECT_NE(osselRenewCollection(context, 0, nullptr, "set", 0), 0);
    EXPECT_NE(osselRenewCollection(context, 0, "collection", nullptr, 0), 0);
    EXPECT_NE(osselCreateEventObject(context, nullptr, 0, &event_, 1), 0);
    EXPECT_EQ(olGetSchemaTypeIdByField(nullptr, "A", "1"), nullptr);
    EXPECT_EQ(olGetSchemaTypeIdByField("hash", nullptr, "1"), nullptr);
    EXPECT_EQ(olGetSchemaTypeIdByField("hash", "A", nullptr), nullptr);
    EXPECT_EQ(olObjGetProperty(nullptr, "A"), nullptr);
    EXPECT_EQ(olObjGetProperty("hash", nullptr), nullptr);
}

TEST_F(NullArguments, InPlaceOfRecordsAndOfRoomForTheAnswerFail) {
    redisContext* const context = connection();
    EXPECT_NE(osselGenerateUUID(context, nullptr), 0);
    EXPECT_NE(osselCreateHashTable(context, "hash", nullptr, 1), 0);
    EXPECT_NE(osselGetHashField(context, "hash", "A", nullptr), 0);
    EXPECT_EQ(osselHashGetAll(context, "hash", nullptr), nullptr);
    EXPECT_NE(osselSMembers(context, "set", nullptr, &count_), 0);
    EXPECT_NE(osselSMembers(context, "set", &members_, nullptr), 0);
    EXPECT_NE(osselCreateSetTable(context, "set", nullptr, 1), 0);
    EXPECT_NE(osselCreateEventObject(context, "source", 0, nullptr, 1), 0);
    EXPECT_EQ(store.events("source"), 0);
}

} // namespace
} // namespace contract
