// The process-wide objects for unit tests, which do not link service/.
#include "tests/support/process_state_control.h"

#include "agent/webgui_agent.h"

ResourceTypeIds G_ResourceTypeIds;
InstanceKeySet G_InstanceKeys;
WebGUIAgent* G_WebGUIAgent = nullptr;

namespace {

int g_creationResult = 1;
int g_destructions = 0;

void deleteAgent() {
    delete G_WebGUIAgent;
    G_WebGUIAgent = nullptr;
}

} // namespace

int createWebGUIAgent() {
    if (g_creationResult != 0) {
        G_WebGUIAgent = new WebGUIAgent;
    }
    return g_creationResult;
}

void destroyWebGUIAgent() {
    ++g_destructions;
    deleteAgent();
}

namespace test {

void setAgentCreationResult(int result) {
    g_creationResult = result;
}

int agentDestructions() {
    return g_destructions;
}

void clearProcessState() {
    deleteAgent();
    G_ResourceTypeIds = {};
    G_InstanceKeys.clear();
    g_creationResult = 1;
    g_destructions = 0;
}

void setProvisionedTypeIds() {
    G_ResourceTypeIds = {"schema-type",     "webgui-type",   "actions-type", "oem-type",
                         "turnofflcd-type", "guiready-type", "collection"};
}

} // namespace test
