// The entry point of every request.
#pragma once

// Posts a request to the worker that serves its message id, or answers "ActionNotSupported". Never
// waits for a worker.
//   texts    NUL-terminated, owned by the caller
//   thread   the plugin host's; a refusal uses G_Plugin's connection
void OrvaneWebGUI_OVRHookFunction(char* msgId, char* reqArg, char* replyChannel);
