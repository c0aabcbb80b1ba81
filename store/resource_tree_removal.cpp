// Taking the resource tree down, children before parents, past every failure.
#include "log_line.h"
#include "process_state.h"
#include "store/instance_operations.h"
#include "store/names.h"
#include "store/resource_tree.h"
#include "text.h"

#include <cstdlib>

namespace {

int deleteLeaf(redisContext* context, const char* function, const std::string& uuid,
               const std::string& collectionKey) {
    const int code = deleteInstance(context, uuid, collectionKey);
    if (code != 0) {
        logLine(function, "Failed to call deleteInstance().");
    }
    return code;
}

// A child of the Actions instance: the field that names it, and the function that deletes it.
struct Child {
    const char* field;
    int (*remove)(redisContext*, std::string, std::string);
    const char* functionName;
};
constexpr Child kChildren[] = {
    {kOemField, OrvaneWebGUI_Actions_Oem_Delete, "OrvaneWebGUI_Actions_Oem_Delete"},
    {kTurnOffLCDField, OrvaneWebGUI_Actions_TurnOffLCD_Delete,
     "OrvaneWebGUI_Actions_TurnOffLCD_Delete"},
    {kGUIReadyField, OrvaneWebGUI_Actions_GUIReady_Delete, "OrvaneWebGUI_Actions_GUIReady_Delete"},
};

} // namespace

void OrvaneWebGUI_Delete(redisContext* context, std::string uuid, std::string collectionKey) {
    constexpr std::string_view kName = "OrvaneWebGUI_Delete";
    char actionsUuid[1024] = {};
    if (osselGetHashField(context, uuid.c_str(), kActionsField, actionsUuid) != 0) {
        logLine(kName, "Failed to call osselGetHashField().");
    } else if (OrvaneWebGUI_Actions_Delete(context, actionsUuid, "") != 0) {
        logLine(kName, "Failed to call OrvaneWebGUI_Actions_Delete().");
    }
    if (deleteInstance(context, uuid, collectionKey) != 0) {
        logLine(kName, "Failed to call deleteInstance().");
    }
}

int OrvaneWebGUI_Actions_Delete(redisContext* context, std::string uuid,
                                std::string collectionKey) {
    constexpr std::string_view kName = "OrvaneWebGUI_Actions_Delete";
    for (const Child& child : kChildren) {
        char childUuid[1024] = {};
        if (osselGetHashField(context, uuid.c_str(), child.field, childUuid) != 0) {
            logLine(kName, "Failed to call osselGetHashField().");
        } else if (child.remove(context, childUuid, "") != 0) {
            logLine(kName, "Failed to call ", child.functionName, "().");
        }
    }
    const int code = deleteInstance(context, uuid, collectionKey);
    if (code != 0) {
        logLine(kName, "Failed to call deleteInstance().");
    }
    return code;
}

int OrvaneWebGUI_Actions_Oem_Delete(redisContext* context, std::string uuid,
                                    std::string collectionKey) {
    return deleteLeaf(context, "OrvaneWebGUI_Actions_Oem_Delete", uuid, collectionKey);
}

int OrvaneWebGUI_Actions_TurnOffLCD_Delete(redisContext* context, std::string uuid,
                                           std::string collectionKey) {
    return deleteLeaf(context, "OrvaneWebGUI_Actions_TurnOffLCD_Delete", uuid, collectionKey);
}

int OrvaneWebGUI_Actions_GUIReady_Delete(redisContext* context, std::string uuid,
                                         std::string collectionKey) {
    return deleteLeaf(context, "OrvaneWebGUI_Actions_GUIReady_Delete", uuid, collectionKey);
}

int OrvaneWebGUI_DeleteInstanceCollection(redisContext* context) {
    const int code = deleteInstanceCollection(context, G_ResourceTypeIds.instanceCollectionKey);
    if (code != 0) {
        logLine("OrvaneWebGUI_DeleteInstanceCollection",
                "Failed to call deleteInstanceCollection().");
    }
    return code;
}

int OrvaneWebGUI_renewRemove(redisContext* context, const InstanceSlot* instances,
                             unsigned int count) {
    return renewWorkTreeRemove(context, G_ResourceTypeIds.schemaTypeId, instances, count);
}

int OrvaneWebGUI_renewRemoveOne(redisContext* context, std::string uuid) {
    return renewWorkTreeRemoveOne(context, G_ResourceTypeIds.schemaTypeId, uuid);
}

void OrvaneWebGUI_Clean(redisContext* context) {
    const std::string& collectionKey = G_ResourceTypeIds.instanceCollectionKey;
    G_InstanceKeys.clear();
    InstanceSlot* members = nullptr;
    unsigned int count = 0;
    const int code = osselSMembers(context, collectionKey.c_str(), &members, &count);
    const MallocPtr<InstanceSlot[]> owner(members);
    if (code != 0) {
        logLine("OrvaneWebGUI_Clean", "Failed to call osselSMembers( ", collectionKey, " ).");
        OrvaneWebGUI_DeleteInstanceCollection(context);
        return;
    }
    for (unsigned int i = 0; i < count; ++i) {
        OrvaneWebGUI_Delete(context, members[i], "");
    }
    OrvaneWebGUI_DeleteInstanceCollection(context);
    if (count > 0) {
        OrvaneWebGUI_renewRemove(context, members, count);
    }
}

void OrvaneWebGUI_CleanCreated(redisContext* context) {
    const auto count = static_cast<unsigned int>(G_InstanceKeys.size());
    const MallocPtr<InstanceSlot[]> instances(
        static_cast<InstanceSlot*>(std::calloc(count, sizeof(InstanceSlot))));
    InstanceSlot* slot = instances.get();
    for (const std::string& uuid : G_InstanceKeys) {
        if (instances) {
            copyBounded(*slot++, uuid);
        }
    }
    for (const std::string& uuid : G_InstanceKeys) {
        OrvaneWebGUI_Delete(context, uuid, "");
    }
    OrvaneWebGUI_DeleteInstanceCollection(context);
    G_InstanceKeys.clear();
    OrvaneWebGUI_renewRemove(context, instances.get(), count);
    destroyWebGUIAgent();
}
