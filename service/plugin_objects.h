// The two process-wide objects that tie the process to the plugin host. Defined in
// process_state.cpp, the binding first.
#pragma once

#include "platform/plugin_host.h"
#include "service/plugin.h"

extern ovrBindCAPIToOssel G_Binding;
extern ovrPlugin<ovrBindCAPIToOssel> G_Plugin;
