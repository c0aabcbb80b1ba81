// The process-wide objects that more than one subsystem works on. All of them are
// defined in service/process_state.cpp, constructed before `main` and destroyed by
// the exit handlers. A test of one subsystem links definitions of its own.
#pragma once

#include "records.h"

#include <string>
#include <utility>

class WebGUIAgent;

// The unit-model names. One copy per module, by design: nothing shares it.
// NOLINTNEXTLINE(cert-err58-cpp): two short texts; the daemon ends if it has no memory for them
const std::pair<const std::string, const std::string> G_ModelNames{"Tinvale", "Varrow"};

// Written by `main` before the workers are registered; constant afterwards.
extern ResourceTypeIds G_ResourceTypeIds;

// Written by `main` alone: filled by OrvaneWebGUI_Init, emptied by the clean-up.
// Every request works on a copy.
extern InstanceKeySet G_InstanceKeys;

// The settings. Null until OrvaneWebGUI_Init and after the clean-up; set by `main`
// while no request is being handled.
extern WebGUIAgent* G_WebGUIAgent;

// Makes the settings object, whose constructor opens and reads the database, and
// stores it in G_WebGUIAgent. Returns 1; what the constructor throws passes on.
int createWebGUIAgent();

// Destroys the settings object and clears G_WebGUIAgent; nothing when it is null.
void destroyWebGUIAgent();
