// What the plugin host calls for every incoming request.
#pragma once

// Sorts a request by its message id and posts it to the worker of its kind, or refuses it with
// "ActionNotSupported". Does not wait for the worker.
//   texts    NUL-terminated, owned by the caller
//   thread   one of the plugin host's; refusals use G_Plugin's connection
void OrvaneWebGUI_OVRHookFunction(char* msgId, char* reqArg, char* replyChannel);
