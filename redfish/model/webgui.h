// The WebGUI resource as HTTP clients see it, completed from what the provider keeps in the
// object store: there all values are texts, and the addresses and types are empty.
#pragma once

#include "redfish/model/json.h"

#include <map>
#include <string>

namespace redfish::model {

using Fields = std::map<std::string, std::string>; // of a hash in the object store

// The hashes of the provider's tree that say something to a client. The actions' may be empty.
struct StoredWebGui {
    Fields resource;
    Fields turnOffLcd;
    Fields guiReady;
};

// Texts become booleans and integers as the schema has them; a boolean is true for what begins
// with "true" in any case, as the provider reads it. A setting that the instance lacks, or that
// should be an integer and is none, is left out. Fields that are no property (type ids, who made
// the last change) stay inside.
Json webGui(const StoredWebGui& stored);

} // namespace redfish::model
