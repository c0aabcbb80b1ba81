// The Redfish event that announces a change of the resource.
#pragma once

#include "platform/ossel.h"

#include <string>

// Appends one event to the store's event stream. A failure is logged but not reported.
//   eventType        at most 255 characters; longer texts are cut, here and below
//   origin           key of the instance, at most 36 characters
//   messageNumber    follows "Orvane.1.0.Msg" in the message id, with at least 3 digits
//   argumentPrefix,  the prefix and the number with at least 2 digits form the event's only message
//   argumentNumber   argument
// Update worker thread, with that thread's connection.
void WebGUI_RedfishSendBackendUpdatedEvent(redisContext* context, std::string eventType,
                                           std::string origin, int messageNumber,
                                           std::string argumentPrefix, int argumentNumber);
