// Every function with a null context and with each of its pointers null: it fails, does not crash,
// and stores nothing.
#include "tests/platform/ossel/store_test.h"

#include <functional>

namespace {

constexpr const char* kEndOfArguments = nullptr;

// One call of each function with all arguments given; `wrong` names the argument that is null
// instead (0: the context). True when the function reports failure.
struct NullCase {
    const char* name;
    int arguments;
    std::function<bool(redisContext*, int wrong)> fails;
};

const char* text(int index, int wrong) {
    return index == wrong ? nullptr : "text";
}

template <typename T>
T* unless(bool wrong, T& thing) {
    return wrong ? nullptr : &thing;
}

std::vector<NullCase> cases() {
    static FieldValuePair pair = test::field("name", "value");
    static InstanceSlot slot = "member";
    static OsselEvent event{};
    static std::array<char, 1024> buffer{};
    return {
        {"osselGenerateUUID", 1,
         [](redisContext* c, int w) {
             return osselGenerateUUID(c, w == 1 ? nullptr : buffer.data()) != 0;
         }},
        {"osselCreateReturnMessage", 2,
         [](redisContext* c, int w) {
             return osselCreateReturnMessage(c, text(1, w), text(2, w), "argument",
                                             kEndOfArguments) != 0;
         }},
        {"osselPublishToChannel", 2,
         [](redisContext* c, int w) {
             return osselPublishToChannel(c, text(1, w), text(2, w)) != 0;
         }},
        {"osselCreateHashTable", 2,
         [](redisContext* c, int w) {
             return osselCreateHashTable(c, text(1, w), unless(w == 2, pair), 1) != 0;
         }},
        {"osselDeleteHash", 1,
         [](redisContext* c, int w) { return osselDeleteHash(c, text(1, w)) != 0; }},
        {"osselDeleteHash of the empty key", 0,
         [](redisContext* c, int) { return osselDeleteHash(c, "") != 0; }},
        {"osselGetHashField", 3,
         [](redisContext* c, int w) {
             return osselGetHashField(c, text(1, w), text(2, w),
                                      w == 3 ? nullptr : buffer.data()) != 0;
         }},
        {"osselHashGetAll", 2,
         [](redisContext* c, int w) {
             unsigned int count = 77;
             const MallocPtr<FieldValuePair> all(
                 osselHashGetAll(c, text(1, w), unless(w == 2, count)));
             return all == nullptr && (w == 2 || count == 0);
         }},
        {"osselIsFieldMatched", 3,
         [](redisContext* c, int w) {
             return osselIsFieldMatched(c, text(1, w), text(2, w), text(3, w)) == 0;
         }},
        {"osselHashAppendTTLObject", 1,
         [](redisContext* c, int w) { return osselHashAppendTTLObject(c, text(1, w), 5) != 0; }},
        {"osselHashAppendTTLObject without time", 1,
         [](redisContext* c, int w) { return osselHashAppendTTLObject(c, text(1, w), 0) != 0; }},
        {"osselClearETagCache", 1,
         [](redisContext* c, int w) { return osselClearETagCache(c, text(1, w)) != 0; }},
        {"osselListRightPush", 2,
         [](redisContext* c, int w) { return osselListRightPush(c, text(1, w), text(2, w)) != 0; }},
        {"osselLREM", 2,
         [](redisContext* c, int w) { return osselLREM(c, text(1, w), 1, text(2, w)) != 0; }},
        {"osselSADD", 2,
         [](redisContext* c, int w) { return osselSADD(c, text(1, w), text(2, w), 0) != 0; }},
        {"osselRemoveInstanceFromSet", 2,
         [](redisContext* c, int w) {
             return osselRemoveInstanceFromSet(c, text(1, w), text(2, w)) != 0;
         }},
        {"osselSMembers", 3,
         [](redisContext* c, int w) {
             InstanceSlot* members = &slot;
             unsigned int count = 77;
             const int code =
                 osselSMembers(c, text(1, w), unless(w == 2, members), unless(w == 3, count));
             const bool isEmpty = w > 1 || (members == nullptr && count == 0);
             return code != 0 && isEmpty;
         }},
        {"osselCreateSetTable", 2,
         [](redisContext* c, int w) {
             return osselCreateSetTable(c, text(1, w), unless(w == 2, slot), 1) != 0;
         }},
        {"osselRenewCollection", 2,
         [](redisContext* c, int w) {
             return osselRenewCollection(c, 0, text(1, w), text(2, w), 0) != 0;
         }},
        {"osselCreateEventObject", 2,
         [](redisContext* c, int w) {
             return osselCreateEventObject(c, text(1, w), 0, unless(w == 2, event), 1) != 0;
         }},
    };
}

using NullArguments = test::StoreTest;

TEST_F(NullArguments, FailInEveryFunctionWithoutAContext) {
    for (const NullCase& call : cases()) {
        EXPECT_TRUE(call.fails(nullptr, 0)) << call.name;
    }
}

TEST_F(NullArguments, FailInEveryFunctionAndStoreNothing) {
    for (const NullCase& call : cases()) {
        for (int wrong = 1; wrong <= call.arguments; ++wrong) {
            EXPECT_TRUE(call.fails(context.get(), wrong)) << call.name << ", argument " << wrong;
        }
    }
    EXPECT_EQ(redis.command({"DBSIZE"}), "0");
    // The connection is as good as before.
    EXPECT_EQ(osselSADD(context.get(), "set", "member", 0), 0);
}

TEST_F(NullArguments, GiveNullInTheLookUps) {
    EXPECT_EQ(olGetSchemaTypeIdByField(nullptr, "field", "value"), nullptr);
    EXPECT_EQ(olGetSchemaTypeIdByField("key", nullptr, "value"), nullptr);
    EXPECT_EQ(olGetSchemaTypeIdByField("key", "field", nullptr), nullptr);
    EXPECT_EQ(olObjGetProperty(nullptr, "property"), nullptr);
    EXPECT_EQ(olObjGetProperty("key", nullptr), nullptr);
}

TEST_F(NullArguments, AreIgnoredByDisconnect) {
    osselRedisDisconnect(nullptr);
    EXPECT_EQ(osselSADD(context.get(), "set", "member", 0), 0);
}

} // namespace
