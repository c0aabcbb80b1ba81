// The events of the provider as records of the event stream.
#pragma once

#include "client/events.h"
#include "redfish/model/json.h"

#include <string>

namespace redfish::model {

// The "Event" with its one record. `webGuiInstance` is the key of the WebGUI instance in the
// object store: an event about it leads to the resource; other origins are left out, since no
// address stands for them.
Json eventBody(const client::Event& event, const std::string& webGuiInstance);

} // namespace redfish::model
