// Lists and sets of instance keys: the instance collections and the work trees.
#include "platform/ossel.h"

#include "platform/ossel/boundary.h"
#include "platform/ossel/exchange.h"
#include "text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <string_view>
#include <vector>

namespace ossel {

namespace {

constexpr std::string_view kWorkTreePrefix = "WorkTree:";

// Checks and pushes in one step, so that two writers cannot both push the same value.
constexpr std::string_view kPushUnlessHeld =
    "if redis.call('LPOS', KEYS[1], ARGV[1]) then return 0 end\n"
    "return redis.call('RPUSH', KEYS[1], ARGV[1])";

bool isNumber(const Reply& reply) {
    return reply.kind == Reply::Kind::integer;
}

// Callers try a list before a set: a key of the other kind is a result, not an error to log.
bool push(redisContext& context, const char* key, const char* value) {
    ShortCommand eval{"EVAL", kPushUnlessHeld, "1", key, value};
    return isNumber(askAllowingWrongKind(context, eval, {Reply::Kind::integer}, Repeat::harmless));
}

bool removeFromList(redisContext& context, const char* key, int count, const char* value) {
    std::array<char, 16> digits{};
    const char* const end = std::to_chars(digits.begin(), digits.end(), count).ptr;
    const std::string_view number(digits.data(), static_cast<std::size_t>(end - digits.data()));
    ShortCommand lrem{"LREM", key, number, value};
    const Reply reply = askAllowingWrongKind(context, lrem, {Reply::Kind::integer}, Repeat::never);
    return isNumber(reply) && reply.integer > 0;
}

bool addToSet(redisContext& context, const char* key, const char* member) {
    ShortCommand sadd{"SADD", key, member};
    return isNumber(ask(context, sadd, {Reply::Kind::integer}, Repeat::harmless));
}

bool removeFromSet(redisContext& context, const char* key, const char* member) {
    ShortCommand srem{"SREM", key, member};
    const Reply reply = ask(context, srem, {Reply::Kind::integer}, Repeat::never);
    return isNumber(reply) && reply.integer > 0;
}

// The members of a set or of a list. Empty when they cannot be read.
Reply membersOf(redisContext& context, const char* key) {
    ShortCommand smembers{"SMEMBERS", key};
    Reply reply = askAllowingWrongKind(context, smembers, {Reply::Kind::list}, Repeat::harmless);
    if (isWrongKind(reply)) {
        ShortCommand lrange{"LRANGE", key, "0", "-1"};
        reply = ask(context, lrange, {Reply::Kind::list}, Repeat::harmless);
    }
    return reply;
}

bool readMembers(redisContext& context, const char* key, InstanceSlot*& members,
                 unsigned int& count) {
    const Reply reply = membersOf(context, key);
    if (!reply) {
        return false;
    }
    const std::vector<Reply>& texts = reply.elements;
    if (texts.empty()) {
        return true;
    }
    MallocPtr<InstanceSlot> slots(
        static_cast<InstanceSlot*>(std::malloc(texts.size() * sizeof(InstanceSlot))));
    if (slots == nullptr) {
        return false;
    }
    for (std::size_t i = 0; i < texts.size(); ++i) {
        copyBounded(slots.get()[i], texts[i].text);
    }
    members = slots.release();
    count = static_cast<unsigned int>(texts.size());
    return true;
}

// Replaces whatever the key held by exactly these members.
bool makeSet(redisContext& context, const char* key, std::span<const InstanceSlot> members) {
    ShortCommand del{"DEL", key};
    LongCommand sadd(2 + members.size());
    sadd.add("SADD");
    sadd.add(key);
    for (const InstanceSlot& member : members) {
        sadd.add(boundedText(member));
    }
    return runTransaction(context, std::array<Command, 2>{del, sadd}, Repeat::harmless);
}

// A second try does no harm: the first one, if it ran, has consumed the set.
bool renew(redisContext& context, int mode, const char* collectionKey, const char* setKey) {
    constexpr int kAdd = 0;
    constexpr int kTakeOut = 1;
    if (mode != kAdd && mode != kTakeOut) {
        return false;
    }
    const std::string tree = std::string(kWorkTreePrefix) + collectionKey;
    ShortCommand store{mode == kAdd ? "SUNIONSTORE" : "SDIFFSTORE", tree, tree, setKey};
    ShortCommand del{"DEL", setKey};
    return runTransaction(context, std::array<Command, 2>{store, del}, Repeat::harmless);
}

} // namespace

} // namespace ossel

using namespace ossel;

int osselListRightPush(redisContext* context, const char* key, const char* value) {
    return resultCode([=] { return !anyNull(context, key, value) && push(*context, key, value); });
}

int osselLREM(redisContext* context, const char* key, int count, const char* value) {
    return resultCode([=] {
        return !anyNull(context, key, value) && removeFromList(*context, key, count, value);
    });
}

int osselSADD(redisContext* context, const char* key, const char* member, int /*flag*/) {
    return resultCode(
        [=] { return !anyNull(context, key, member) && addToSet(*context, key, member); });
}

int osselRemoveInstanceFromSet(redisContext* context, const char* key, const char* member) {
    return resultCode(
        [=] { return !anyNull(context, key, member) && removeFromSet(*context, key, member); });
}

int osselSMembers(redisContext* context, const char* key, InstanceSlot** members,
                  unsigned int* count) {
    return resultCode([=] {
        if (anyNull(members, count)) {
            return false;
        }
        *members = nullptr;
        *count = 0;
        return !anyNull(context, key) && readMembers(*context, key, *members, *count);
    });
}

int osselCreateSetTable(redisContext* context, const char* key, const InstanceSlot* members,
                        unsigned int count) {
    return resultCode([=] {
        return !anyNull(context, key, members) && count > 0 &&
               makeSet(*context, key, {members, count});
    });
}

int osselRenewCollection(redisContext* context, int mode, const char* collectionKey,
                         const char* setKey, unsigned char /*flag*/) {
    return resultCode([=] {
        return !anyNull(context, collectionKey, setKey) &&
               renew(*context, mode, collectionKey, setKey);
    });
}
