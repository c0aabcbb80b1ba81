// Writes the schema definitions that the provider looks up when it starts. On a controller its
// Redfish service does that.
#pragma once

#include "client/connection.h"

namespace client {

// One field of a hash in the store.
struct Definition {
    std::string key;
    std::string field;
    std::string value;
    bool written = false; // false: it existed already
};

// Writes the definitions that the store lacks and returns all of them in the order of writing: the
// registry, which leads to the others, comes last. Throws as StoreConnection; StoreContents, before
// anything is written, when the schema is registered under another id or a field has another value.
std::vector<Definition> provision(StoreConnection& store);

} // namespace client
