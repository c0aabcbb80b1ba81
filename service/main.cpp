// Start-up and shutdown of the service, step by step.
#include "agent/handler_tables.h"
#include "log_line.h"
#include "process_state.h"
#include "requests/managing_mode.h"
#include "service/hook_function.h"
#include "service/plugin_objects.h"
#include "service/run_marker.h"
#include "service/worker_threads.h"
#include "store/resource_documents.h"
#include "store/resource_tree.h"

#include <cstdlib>
#include <string>

namespace {

constexpr char kSchemaType[] = "#OrvaneWebGUI.1.0.0.WebGUI";
constexpr int kOption = 1;

void readManagingMode() {
    const int mode = getManagingMode();
    G_ManagingMode = mode == kUnknownManagingMode ? 0 : mode;
}

// Start-up goes on even if the lookup failed.
void readSchemaTypeIds() {
    G_Plugin.m_option = kOption;
    G_Plugin.lookupSchemaTypeIds(kSchemaType);
    G_ResourceTypeIds.schemaTypeId = G_Plugin.m_typeId;
    logLine("OrvaneWebGUI", "The typeId is ", G_ResourceTypeIds.schemaTypeId, ".");
    G_ResourceTypeIds.instanceCollectionKey = G_Plugin.m_instanceCollection;
}

// Registers the workers in the order of their fnTypes, then the hook. The host keeps `name` and may
// read it until the process ends.
void registerWithHost(char** name) {
    G_Binding.ovrAddRunningThread(OrvaneWebGUI_CreateObject, *name);
    G_Binding.ovrAddRunningThread(OrvaneWebGUI_ReadObject, *name);
    G_Binding.ovrAddRunningThread(OrvaneWebGUI_UpdateObject, *name);
    G_Binding.ovrcbIdSet(G_ResourceTypeIds.schemaTypeId);
    G_Binding.ovrRedisContextSet(G_Plugin.m_redis);
    G_Binding.ovrHookFnSet(OrvaneWebGUI_OVRHookFunction);
    G_Binding.ovrHookFnRedisRegister(name);
}

// Every path ends here, so the exit status tells a supervisor nothing. Threads that a host started
// at registration may still run: after a failed OrvaneWebGUI_Init nobody waits for them.
[[noreturn]] void leave() {
    std::exit(0); // NOLINT(concurrency-mt-unsafe)
}

} // namespace

int main() {
    char nameText[] = "OrvaneWebGUI";
    char* name = nameText;
    readManagingMode();
    readSchemaTypeIds();
    redisContext* context = G_Plugin.m_redis;
    if (loadDefinitionTypeIds(context) != 0) {
        leave();
    }
    registerWithHost(&name);
    if (OrvaneWebGUI_Init(context) == 0) {
        leave();
    }
    createRunMarker();
    G_Binding.ovrThreadWaitForExit();
    OrvaneWebGUI_CleanCreated(context);
    leave();
}
