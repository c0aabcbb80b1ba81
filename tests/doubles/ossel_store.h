// The object store of the double, in memory, as its C functions work on it.
#pragma once

#include "tests/doubles/platform_doubles.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

struct redisContext {
    int number; // 0: the test's own
};

namespace doubles::detail {

using Groups = std::map<std::string, std::vector<std::string>>;

struct HashAnswer {
    FieldValuePair* records;
    unsigned int count;
};

struct Store {
    std::map<std::string, Fields> hashes;
    Groups lists;
    Groups sets;
    std::map<std::string, int> freshness;
    std::set<std::string> etags;
    std::vector<RecordedEvent> events;
    std::optional<HashAnswer> hashAnswer;
    int uuids = 0;
    int connections = 0;
    int openConnections = 0;
    const redisContext* first = nullptr; // opened while there was no other
    bool hasOwnContext = false;
};
Store& store();

bool isOwn(const redisContext* context); // the test's own, which is never closed

template <typename... Pointers>
bool isAnyNull(const Pointers*... pointers) {
    return (... || (pointers == nullptr));
}

// Whether the key holds a list, a set, a hash.
bool isList(const std::string& key);
bool isSet(const std::string& key);
bool isHash(const std::string& key);
void removeKey(const std::string& key);

// One field of a hash; null if there is none.
const std::string* findField(const std::string& key, const std::string& name);
void setField(const std::string& key, const std::string& name, const std::string& value);

// Returns false if the member was not there. The last one takes its key with it.
bool removeMember(Groups& groups, const std::string& key, const std::string& member);
void addMember(std::vector<std::string>& group, const std::string& member);

} // namespace doubles::detail
