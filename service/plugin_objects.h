// The two process-wide objects that connect the process to the plugin host. process_state.cpp
// defines them, the binding first.
#pragma once

#include "platform/plugin_host.h"
#include "service/plugin.h"

extern ovrBindCAPIToOssel G_Binding;
extern ovrPlugin<ovrBindCAPIToOssel> G_Plugin;
