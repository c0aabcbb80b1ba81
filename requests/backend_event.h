// The Redfish event that announces a change of the resource.
#pragma once

#include "platform/ossel.h"

#include <string>

// Appends one event to the store's event stream. A failure is logged and not reported.
//   eventType        at most 255 characters
//   origin           key of the instance, at most 36 characters
//   messageNumber    the message id is "Orvane.1.0.Msg" and at least 3 digits
//   argumentPrefix,  the event's one message argument: the prefix and at least 2 digits
//   argumentNumber
// Longer texts are cut. Update worker thread, with that thread's connection.
void WebGUI_RedfishSendBackendUpdatedEvent(redisContext* context, std::string eventType,
                                           std::string origin, int messageNumber,
                                           std::string argumentPrefix, int argumentNumber);
