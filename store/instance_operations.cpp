// Instance operations: logging, the fall-back from list to set, and the roll-back of instances
// whose creation failed half-way.
#include "store/instance_operations.h"

#include "log_line.h"
#include "text.h"

int createInstance(redisContext* context, std::string uuid, const FieldValuePair* fields, int count,
                   int ttl, std::string collectionKey) {
    constexpr std::string_view kName = "createInstance";
    int code = osselCreateHashTable(context, uuid.c_str(), fields, count);
    if (code != 0) {
        logLine(kName, "Failed to call osselCreateHashTable( ", uuid, ", ..., ", count, " ).");
        return code;
    }
    if (ttl > 0) {
        code = osselHashAppendTTLObject(context, uuid.c_str(), ttl);
        if (code != 0) {
            logLine(kName, "Failed to call osselHashAppendTTLObject( ", uuid, ", ", ttl, " ).");
            deleteInstance(context, uuid, "");
            return code;
        }
    }
    if (collectionKey.empty()) {
        return 0;
    }
    if (osselListRightPush(context, collectionKey.c_str(), uuid.c_str()) == 0) {
        return 0;
    }
    code = osselSADD(context, collectionKey.c_str(), uuid.c_str(), 0);
    if (code != 0) {
        logLine(kName, "Failed to call osselSADD( ", collectionKey, ", ", uuid, " ).");
        deleteInstance(context, uuid, "");
    }
    return code;
}

int updateInstance(redisContext* context, std::string uuid, const FieldValuePair* fields, int count,
                   int ttl) {
    constexpr std::string_view kName = "updateInstance";
    int code = osselCreateHashTable(context, uuid.c_str(), fields, count);
    if (code != 0) {
        logLine(kName, "Failed to call osselCreateHashTable( ", uuid, ", ..., ", count, " ).");
        return code;
    }
    // Meant: unlike in createInstance, for every ttl, and a failure is tolerated.
    if (osselHashAppendTTLObject(context, uuid.c_str(), ttl) != 0) {
        logLine(kName, "Failed to call osselHashAppendTTLObject( ", uuid, ", ", ttl, " ).");
    }
    code = osselClearETagCache(context, uuid.c_str());
    if (code != 0) {
        logLine(kName, "Failed to call osselClearETagCache(", uuid, ").");
    }
    return code;
}

int deleteInstance(redisContext* context, std::string uuid, std::string collectionKey) {
    constexpr std::string_view kName = "deleteInstance";
    if (uuid.empty()) {
        logLine(kName, "The instance UUID is empty.");
        return 1;
    }
    int result = 0;
    if (osselDeleteHash(context, uuid.c_str()) != 0) {
        logLine(kName, "Failed to call osselDeleteHash( ", uuid, " ).");
        result = 1;
    }
    if (collectionKey.empty()) {
        return result;
    }
    if (osselLREM(context, collectionKey.c_str(), 1, uuid.c_str()) == 0) {
        return result;
    }
    if (osselRemoveInstanceFromSet(context, collectionKey.c_str(), uuid.c_str()) != 0) {
        logLine(kName, "Failed to call osselRemoveInstanceFromSet( ", collectionKey, ", ", uuid,
                " ).");
        result = 1;
    }
    return result;
}

int deleteInstanceCollection(redisContext* context, std::string collectionKey) {
    const int code = osselDeleteHash(context, collectionKey.c_str());
    if (code != 0) {
        logLine("deleteInstanceCollection", "Failed to call osselDeleteHash( ", collectionKey,
                " ).");
    }
    return code;
}

int renewWorkTree(redisContext* context, int mode, std::string collectionKey,
                  const InstanceSlot* instances, unsigned int count, unsigned char flag) {
    constexpr std::string_view kName = "renewWorkTree";
    if (instances == nullptr || count == 0) {
        logLine(kName, "Invalid parameters: instSet is NULL or count(", count, ") is 0.");
        return 1;
    }
    char temporaryKey[40] = {};
    int code = osselGenerateUUID(context, temporaryKey);
    if (code != 0) {
        logLine(kName, "Failed to call osselGenerateUUID().");
        return code;
    }
    code = osselCreateSetTable(context, temporaryKey, instances, count);
    if (code != 0) {
        logLine(kName, "Failed to call osselCreateSetTable( ", temporaryKey, ", ..., ", count,
                " ).");
        return code;
    }
    code = osselRenewCollection(context, mode, collectionKey.c_str(), temporaryKey, flag);
    if (code == 0) {
        return 0; // the store has consumed the temporary set
    }
    logLine(kName, "Failed to call osselRenewCollection( ", collectionKey, ", ", temporaryKey,
            " ).");
    if (osselDeleteHash(context, temporaryKey) != 0) {
        logLine(kName, "Failed to call osselDeleteHash( ", temporaryKey, " ).");
    }
    return code;
}

int renewWorkTreeAdd(redisContext* context, std::string collectionKey,
                     const InstanceSlot* instances, unsigned int count, unsigned char flag) {
    return renewWorkTree(context, 0, collectionKey, instances, count, flag);
}

int renewWorkTreeRemove(redisContext* context, std::string collectionKey,
                        const InstanceSlot* instances, unsigned int count) {
    return renewWorkTree(context, 1, collectionKey, instances, count, 0);
}

int renewWorkTreeAddOne(redisContext* context, std::string collectionKey, std::string uuid,
                        unsigned char flag) {
    InstanceSlot slot;
    copyBounded(slot, uuid);
    return renewWorkTreeAdd(context, collectionKey, &slot, 1, flag);
}

int renewWorkTreeRemoveOne(redisContext* context, std::string collectionKey, std::string uuid) {
    InstanceSlot slot;
    copyBounded(slot, uuid);
    return renewWorkTreeRemove(context, collectionKey, &slot, 1);
}

void fillFieldNames(FieldValuePair* destination, const char* const* names, unsigned char count) {
    for (unsigned char i = 0; destination != nullptr && i < count; ++i) {
        copyBounded(destination[i].name, names[i]);
    }
}

std::string getHashFieldText(redisContext* context, std::string key, const char* field) {
    char value[1024] = {};
    if (context == nullptr || field == nullptr || key.empty() ||
        osselGetHashField(context, key.c_str(), field, value) != 0) {
        return {};
    }
    return value;
}
