// The events of the provider as records of the event stream. Any thread.
#pragma once

#include "client/events.h"
#include "redfish/model/json.h"

#include <string>

namespace redfish::model {

// The "Event" document with one record. Severity and resolution come from our message registry;
// for a message that it lacks the severity is "OK".
//   webGuiInstance  key of the WebGUI instance in the object store: an event about it links to the
//                   resource; any other origin has no address and is left out
Json eventBody(const client::Event& event, const std::string& webGuiInstance);

} // namespace redfish::model
