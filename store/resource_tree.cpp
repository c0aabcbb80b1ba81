// Building the resource tree, with the roll-back of a failed start.
#include "store/resource_tree.h"

#include "log_line.h"
#include "process_state.h"
#include "store/instance_operations.h"
#include "store/resource_documents.h"
#include "text.h"

#include <cstdlib>

namespace {

constexpr unsigned int kInstanceCount = 1;

// Seconds. Only the WebGUI instance has a time-to-live.
constexpr int kWebGUITtl = 1;
constexpr int kNoTtl = 0;

// Creates instance `index` and adds its UUID to the key set and the slot.
bool buildInstance(redisContext* context, int index, InstanceSlot* slot) {
    nameResourceDocuments();
    std::string uuid;
    if (WebGUIPlugin_FillDocument(context, &uuid, index) == 0) {
        logLine("OrvaneWebGUI_Init", "Failed to call WebGUIPlugin_FillDocument( ", index, " ).");
        return false;
    }
    if (OrvaneWebGUI_Init_Create(context, uuid, G_ResourceTypeIds.instanceCollectionKey) != 0) {
        logLine("OrvaneWebGUI_Init", "Failed to call WebGUIPlugin_CreateInstance().");
        return false;
    }
    G_InstanceKeys.insert(uuid);
    copyBounded(*slot, uuid);
    return true;
}

bool buildAndRegister(redisContext* context, InstanceSlot* instances) {
    for (unsigned int i = 0; i < kInstanceCount; ++i) {
        if (!buildInstance(context, static_cast<int>(i), instances + i)) {
            return false;
        }
    }
    if (OrvaneWebGUI_renewAdd(context, instances, kInstanceCount) != 0) {
        logLine("OrvaneWebGUI_Init", "Failed to call OrvaneWebGUI_renewAdd().");
        return false;
    }
    return true;
}

// Meant: deletes only the top-level hashes and the collection, neither memberships nor subtrees.
void rollBack(redisContext* context) {
    for (const std::string& uuid : G_InstanceKeys) {
        deleteInstance(context, uuid, "");
    }
    OrvaneWebGUI_DeleteInstanceCollection(context);
    G_InstanceKeys.clear();
}

int createLeaf(redisContext* context, const char* function, const std::string& uuid,
               const FieldValuePair* document, DocumentLayout layout,
               const std::string& collectionKey) {
    const int code = createInstance(context, uuid, document, layout.count, kNoTtl, collectionKey);
    if (code != 0) {
        logLine(function, "Failed to call createInstance().");
    }
    return code;
}

// The UUIDs of the leaves, borrowed from the Actions document.
struct Leaves {
    const char* oem;
    const char* turnOffLCD;
    const char* guiReady;
};

Leaves leavesOfActionsDocument() {
    const auto& actions = G_ResourceDocuments.actions;
    return {actions[fieldPosition(kActionsLayout, kOemField)].value,
            actions[fieldPosition(kActionsLayout, kTurnOffLCDField)].value,
            actions[fieldPosition(kActionsLayout, kGUIReadyField)].value};
}

int createLeaves(redisContext* context, const Leaves& leaves) {
    constexpr std::string_view kName = "OrvaneWebGUI_Actions_Init_Create";
    int code = OrvaneWebGUI_Actions_Oem_Init_Create(context, leaves.oem, "");
    if (code != 0) {
        logLine(kName, "Failed to call OrvaneWebGUI_Actions_Oem_Init_Create().");
        return code;
    }
    code = OrvaneWebGUI_Actions_TurnOffLCD_Init_Create(context, leaves.turnOffLCD, "");
    if (code != 0) {
        logLine(kName, "Failed to call OrvaneWebGUI_Actions_TurnOffLCD_Init_Create().");
        OrvaneWebGUI_Actions_Oem_Delete(context, leaves.oem, "");
        return code;
    }
    code = OrvaneWebGUI_Actions_GUIReady_Init_Create(context, leaves.guiReady, "");
    if (code != 0) {
        logLine(kName, "Failed to call OrvaneWebGUI_Actions_GUIReady_Init_Create().");
        // Meant: the TurnOffLCD instance stays.
        OrvaneWebGUI_Actions_Oem_Delete(context, leaves.oem, "");
    }
    return code;
}

} // namespace

int OrvaneWebGUI_Init(redisContext* context) {
    if (createWebGUIAgent() == 0) {
        return 0;
    }
    const MallocPtr<InstanceSlot[]> instances(
        static_cast<InstanceSlot*>(std::calloc(kInstanceCount, sizeof(InstanceSlot))));
    const bool allocated = allocateResourceDocuments() && instances;
    const bool built = allocated && buildAndRegister(context, instances.get());
    if (!built) {
        rollBack(context);
    }
    freeResourceDocuments();
    return built ? 1 : 0;
}

int OrvaneWebGUI_Init_Create(redisContext* context, std::string uuid, std::string collectionKey) {
    constexpr std::string_view kName = "OrvaneWebGUI_Init_Create";
    const FieldValuePair* document = G_ResourceDocuments.webGUI.get();
    const std::string actionsUuid = document[fieldPosition(kWebGUILayout, kActionsField)].value;
    int code = OrvaneWebGUI_Actions_Init_Create(context, actionsUuid, "");
    if (code != 0) {
        logLine(kName, "Failed to call OrvaneWebGUI_Actions_Init_Create().");
        return code;
    }
    code = createInstance(context, uuid, document, kWebGUILayout.count, kWebGUITtl, collectionKey);
    if (code != 0) {
        logLine(kName, "Failed to call createInstance().");
        OrvaneWebGUI_Actions_Delete(context, actionsUuid, "");
    }
    return code;
}

int OrvaneWebGUI_Actions_Init_Create(redisContext* context, std::string uuid,
                                     std::string collectionKey) {
    constexpr std::string_view kName = "OrvaneWebGUI_Actions_Init_Create";
    const Leaves leaves = leavesOfActionsDocument();
    int code = createLeaves(context, leaves);
    if (code != 0) {
        // Meant: the same text whichever leaf has failed.
        logLine(kName, "Failed to call OrvaneWebGUI_TurnOffLCD_CreateInstance().");
        return code;
    }
    code = createInstance(context, uuid, G_ResourceDocuments.actions.get(), kActionsLayout.count,
                          kNoTtl, collectionKey);
    if (code != 0) {
        logLine(kName, "Failed to call createInstance().");
        OrvaneWebGUI_Actions_Oem_Delete(context, leaves.oem, "");
        OrvaneWebGUI_Actions_TurnOffLCD_Delete(context, leaves.turnOffLCD, "");
        OrvaneWebGUI_Actions_GUIReady_Delete(context, leaves.guiReady, "");
    }
    return code;
}

int OrvaneWebGUI_Actions_Oem_Init_Create(redisContext* context, std::string uuid,
                                         std::string collectionKey) {
    return createLeaf(context, "OrvaneWebGUI_Actions_Oem_Init_Create", uuid,
                      G_ResourceDocuments.oem.get(), kOemLayout, collectionKey);
}

int OrvaneWebGUI_Actions_TurnOffLCD_Init_Create(redisContext* context, std::string uuid,
                                                std::string collectionKey) {
    return createLeaf(context, "OrvaneWebGUI_Actions_TurnOffLCD_Init_Create", uuid,
                      G_ResourceDocuments.turnOffLCD.get(), kTurnOffLCDLayout, collectionKey);
}

int OrvaneWebGUI_Actions_GUIReady_Init_Create(redisContext* context, std::string uuid,
                                              std::string collectionKey) {
    return createLeaf(context, "OrvaneWebGUI_Actions_GUIReady_Init_Create", uuid,
                      G_ResourceDocuments.guiReady.get(), kGUIReadyLayout, collectionKey);
}

int OrvaneWebGUI_renewAdd(redisContext* context, const InstanceSlot* instances,
                          unsigned int count) {
    return renewWorkTreeAdd(context, G_ResourceTypeIds.schemaTypeId, instances, count, 0);
}

int OrvaneWebGUI_renewAddOne(redisContext* context, std::string uuid) {
    return renewWorkTreeAddOne(context, G_ResourceTypeIds.schemaTypeId, uuid, 0);
}
