// The process-wide objects whose order of construction matters: the plugin object opens the
// connection and keeps a pointer to the binding. The exit handlers destroy them in reverse order.
#include <iostream> // the standard streams come first

#include "agent/webgui_agent.h"
#include "process_state.h"
#include "service/plugin_objects.h"

#include <memory>

// NOLINTBEGIN(cert-err58-cpp): the process cannot run without them; an exception ends it
ovrBindCAPIToOssel G_Binding;
ovrPlugin<ovrBindCAPIToOssel> G_Plugin(kRedisDatabase, kPluginId, &G_Binding);
// NOLINTEND(cert-err58-cpp)
ResourceTypeIds G_ResourceTypeIds;
InstanceKeySet G_InstanceKeys;
WebGUIAgent* G_WebGUIAgent = nullptr;

int createWebGUIAgent() {
    G_WebGUIAgent = std::make_unique<WebGUIAgent>().release();
    return 1;
}

void destroyWebGUIAgent() {
    delete G_WebGUIAgent;
    G_WebGUIAgent = nullptr;
}
