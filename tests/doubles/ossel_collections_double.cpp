// The double of the object-store client's collections: lists, sets and work trees.
#include "tests/doubles/ossel_store.h"
#include "tests/doubles/recorder.h"

#include "text.h"

#include <string>
#include <vector>

using doubles::Fault;
using doubles::Shape;
using doubles::detail::addMember;
using doubles::detail::arguments;
using doubles::detail::enter;
using doubles::detail::enterCall;
using doubles::detail::isAnyNull;
using doubles::detail::isHash;
using doubles::detail::isList;
using doubles::detail::isSet;
using doubles::detail::Lock;
using doubles::detail::mutex;
using doubles::detail::Plain;
using doubles::detail::refused;
using doubles::detail::removeKey;
using doubles::detail::removeMember;
using doubles::detail::show;

extern "C" {

int osselListRightPush(redisContext* context, const char* key, const char* value) {
    const Lock lock(mutex());
    const int code = enter("osselListRightPush", arguments(context, key, value));
    if (code != 0 || isAnyNull(context, key, value) || isSet(key) || isHash(key)) {
        return code != 0 ? code : refused();
    }
    addMember(doubles::lists()[key], value);
    return 0;
}

int osselLREM(redisContext* context, const char* key, int count, const char* value) {
    const Lock lock(mutex());
    const int code = enter("osselLREM", arguments(context, key, count, value));
    if (code != 0 || isAnyNull(context, key, value)) {
        return code != 0 ? code : refused();
    }
    return removeMember(doubles::lists(), key, value) ? 0 : refused();
}

int osselSADD(redisContext* context, const char* key, const char* member, int flag) {
    const Lock lock(mutex());
    const int code = enter("osselSADD", arguments(context, key, member, flag));
    if (code != 0 || isAnyNull(context, key, member) || isList(key) || isHash(key)) {
        return code != 0 ? code : refused();
    }
    addMember(doubles::sets()[key], member);
    return 0;
}

int osselRemoveInstanceFromSet(redisContext* context, const char* key, const char* member) {
    const Lock lock(mutex());
    const int code = enter("osselRemoveInstanceFromSet", arguments(context, key, member));
    if (code != 0 || isAnyNull(context, key, member)) {
        return code != 0 ? code : refused();
    }
    return removeMember(doubles::sets(), key, member) ? 0 : refused();
}

int osselSMembers(redisContext* context, const char* key, InstanceSlot** members,
                  unsigned int* count) {
    const Lock lock(mutex());
    const Fault fault = enterCall("osselSMembers", arguments(context, key));
    if (fault.shape == Shape::refused || isAnyNull(members, count)) {
        return fault ? fault.code : refused();
    }
    *members = nullptr;
    *count = 0;
    if (isAnyNull(context, key) || isHash(key)) {
        return refused();
    }
    const auto& groups = isList(key) ? doubles::lists() : doubles::sets();
    const auto group = groups.find(key);
    if (fault.shape == Shape::emptyArray) {
        *members = static_cast<InstanceSlot*>(doubles::detail::allocate(sizeof(InstanceSlot)));
    }
    if (fault || group == groups.end()) {
        return 0;
    }
    *members = static_cast<InstanceSlot*>(
        doubles::detail::allocate(group->second.size() * sizeof(InstanceSlot)));
    for (const std::string& member : group->second) {
        copyBounded((*members)[(*count)++], member);
    }
    return 0;
}

int osselCreateSetTable(redisContext* context, const char* key, const InstanceSlot* members,
                        unsigned int count) {
    const Lock lock(mutex());
    const int code =
        enter("osselCreateSetTable", arguments(context, key, Plain{show(members, count)}, count));
    if (code != 0 || isAnyNull(context, key, members) || count == 0) {
        return code != 0 ? code : refused();
    }
    removeKey(key);
    for (unsigned int i = 0; i < count; ++i) {
        addMember(doubles::sets()[key], std::string(boundedText(members[i])));
    }
    return 0;
}

int osselRenewCollection(redisContext* context, int mode, const char* collectionKey,
                         const char* setKey, unsigned char flag) {
    const Lock lock(mutex());
    const int code =
        enter("osselRenewCollection", arguments(context, mode, collectionKey, setKey, int{flag}));
    if (code != 0 || isAnyNull(context, collectionKey, setKey) || (mode != 0 && mode != 1)) {
        return code != 0 ? code : refused();
    }
    const std::string workTree = std::string("WorkTree:") + collectionKey;
    const bool isWrongKind =
        isList(setKey) || isHash(setKey) || isList(workTree) || isHash(workTree);
    const auto set = doubles::sets().find(setKey);
    const std::vector<std::string> members =
        set == doubles::sets().end() ? std::vector<std::string>() : set->second;
    removeKey(setKey); // consumed even where the rest fails
    if (isWrongKind) {
        return refused();
    }
    for (const std::string& member : members) {
        if (mode == 0) {
            addMember(doubles::sets()[workTree], member);
        } else {
            removeMember(doubles::sets(), workTree, member);
        }
    }
    return 0;
}

} // extern "C"
