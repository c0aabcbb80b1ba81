// The process-wide objects as a unit test of one subsystem defines them, and what the test
// decides about them. Linked by the target test_process_state.
#pragma once

#include "process_state.h"

#include <string>

namespace test {

// What createWebGUIAgent does: 1 makes a real agent on whatever platform is linked, 0 makes none.
// Either is what it returns.
void setAgentCreationResult(int result);

// Calls of destroyWebGUIAgent since clearProcessState.
int agentDestructions();

// Empties the type ids and the key set, destroys a left-over agent, and lets the next
// creation succeed.
void clearProcessState();

// The type ids that doubles::provision() writes into the store.
void setProvisionedTypeIds();

} // namespace test
