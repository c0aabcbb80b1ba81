// The store of one contract test, and short forms of the calls that look at its contents.
#pragma once

#include "records.h"
#include "tests/platform/contract/side.h"
#include "text.h"

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

namespace contract {

inline FieldValuePair pairOf(const std::string& name, const std::string& value) {
    FieldValuePair pair{};
    copyBounded(pair.name, name);
    copyBounded(pair.value, value);
    return pair;
}

// Slots as callers pass them, one after the other.
class Slots {
public:
    explicit Slots(const std::vector<std::string>& texts)
        : slots_(std::make_unique<InstanceSlot[]>(texts.size())),
          count_(static_cast<unsigned int>(texts.size())) {
        for (std::size_t i = 0; i < texts.size(); ++i) {
            copyBounded(slots_[i], texts[i]);
        }
    }
    InstanceSlot* data() { return slots_.get(); }
    unsigned int count() const { return count_; }

private:
    std::unique_ptr<InstanceSlot[]> slots_;
    unsigned int count_;
};

class ObjectStore : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(connection(), nullptr); }

    redisContext* connection() const { return store.connection(); }

    void makeHash(const char* key = "hash") {
        const FieldValuePair field = pairOf("A", "1");
        ASSERT_EQ(osselCreateHashTable(connection(), key, &field, 1), 0);
    }
    void makeList(const char* key = "list", const char* value = "a") {
        ASSERT_EQ(osselListRightPush(connection(), key, value), 0);
    }
    void makeSet(const char* key = "set", const char* member = "a") {
        ASSERT_EQ(osselSADD(connection(), key, member, 0), 0);
    }
    // One key of each kind: "hash" with A=1, "list" and "set" with the member a.
    void makeOneOfEachKind() {
        makeHash();
        makeList();
        makeSet();
    }

    // The text of one field; "(none)" where the call fails.
    std::string field(const char* key, const char* name) {
        std::array<char, 256> text{};
        return osselGetHashField(connection(), key, name, text.data()) == 0 ? text.data()
                                                                            : "(none)";
    }
    std::map<std::string, std::string> fields(const char* key) {
        unsigned int count = 0;
        const MallocPtr<FieldValuePair> pairs(osselHashGetAll(connection(), key, &count));
        std::map<std::string, std::string> fields;
        for (unsigned int i = 0; i < count; ++i) {
            fields[pairs.get()[i].name] = pairs.get()[i].value;
        }
        return fields;
    }
    std::vector<std::string> members(const std::string& key) {
        InstanceSlot* slots = nullptr;
        unsigned int count = 0;
        if (osselSMembers(connection(), key.c_str(), &slots, &count) != 0) {
            return {"(failed)"};
        }
        const MallocPtr<InstanceSlot> owner(slots);
        std::vector<std::string> texts;
        for (unsigned int i = 0; i < count; ++i) {
            texts.emplace_back(slots[i]);
        }
        return texts;
    }

    Store store;
};

} // namespace contract
