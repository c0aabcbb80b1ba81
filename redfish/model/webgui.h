// The WebGUI resource as HTTP clients see it. In the object store all values are strings, and
// addresses, types and targets are empty; here they get their types and are completed. Any thread.
#pragma once

#include "redfish/model/json.h"

#include <map>
#include <string>

namespace redfish::model {

// Names and values of a hash in the object store.
using Fields = std::map<std::string, std::string>;

// The hashes of the provider's tree that a client gets to see. Those of the actions may be empty.
struct StoredWebGui {
    Fields resource;
    Fields turnOffLcd;
    Fields guiReady;
};

// The document. A boolean is true if the string begins with "true" in any case, which is how the
// provider reads it. Left out: a setting that the instance lacks, an integer that is not one, and
// fields that are not properties (type ids, who made the last change). Values to choose from stand
// beside each setting.
Json webGui(const StoredWebGui& stored);

} // namespace redfish::model
