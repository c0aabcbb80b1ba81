// Finds, through the store alone, who serves the WebGUI resource and where it lies, and
// tells what the server knows of the provider's subscription.
#pragma once

#include "client/connection.h"

namespace client {

// Throw as StoreConnection, and as given. `store` is borrowed for the call.

// The type id under which the schema is registered. StoreContents where it is not.
std::string findSchemaType(StoreConnection& store);

// The channel on which the provider of the resource takes requests. StoreContents where the
// schema is unknown, NobodyThere where no provider is registered.
std::string findProvider(StoreConnection& store);

// The key of the resource's instance: the first of the schema type's instance collection, a
// list or a set (the lowest key then). StoreContents where there is none.
std::string findInstance(StoreConnection& store);

// How many connections listen on the channel.
long long countListeners(StoreConnection& store, const std::string& channel);

// How long the provider has been listening: the age of the connection that is named like
// its channel. Nothing when there is no such connection.
std::optional<std::chrono::seconds> listeningFor(StoreConnection& store,
                                                 const std::string& channel);

} // namespace client
