// Writes the schema definitions that the provider looks up when it starts. On a controller
// its Redfish service does that.
#pragma once

#include "client/connection.h"

namespace client {

// One field of a hash in the store.
struct Definition {
    std::string key;
    std::string field;
    std::string value;
    bool written = false; // false: it was there already
};

// Makes the store hold all definitions, and gives them in the order of writing: the
// registry, which leads to all others, comes last. Throws as StoreConnection; StoreContents
// when the schema is registered under another id, or a field has another value. Nothing
// was written then.
std::vector<Definition> provision(StoreConnection& store);

} // namespace client
