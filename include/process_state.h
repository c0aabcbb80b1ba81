// The process-wide objects that several subsystems use: constructed before `main`, destroyed by the
// exit handlers. service/process_state.cpp defines them, G_ModelNames excepted; a test of a single
// subsystem links its own definitions.
//
// None of them has a lock. `main` changes G_InstanceKeys and G_WebGUIAgent after it has registered
// the workers and the hook. That is safe as long as the host starts both inside
// ovrThreadWaitForExit, and also if it starts them earlier but no request is being served during
// OrvaneWebGUI_Init.
#pragma once

#include "records.h"

#include <string>
#include <utility>

class WebGUIAgent;

// The unit-model names. Meant: one copy per module.
// NOLINTNEXTLINE(cert-err58-cpp): two short texts; without memory for them the daemon cannot run
const std::pair<const std::string, const std::string> G_ModelNames{"Tinvale", "Varrow"};

// Filled by `main` before it registers the workers; constant afterwards.
extern ResourceTypeIds G_ResourceTypeIds;

// The instances that requests may name. Filled by OrvaneWebGUI_Init, emptied by the clean-up, both
// on the main thread. Every request works on its own copy.
extern InstanceKeySet G_InstanceKeys;

// The settings. Null before OrvaneWebGUI_Init and after the clean-up.
extern WebGUIAgent* G_WebGUIAgent;

// Creates the settings object, whose constructor opens and reads the database, and stores it in
// G_WebGUIAgent. Returns 1; lets the constructor's exceptions out. Main thread.
int createWebGUIAgent();

// Destroys the settings object, if any, and clears G_WebGUIAgent. Main thread.
void destroyWebGUIAgent();
