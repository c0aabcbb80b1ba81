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

// Where a request for the resource goes, as found at one moment.
struct Place {
    std::string schemaType; // its id
    std::string channel;    // of the provider
    std::string collection; // key of the instance collection
    bool isSet = false;     // what the collection is: a set, else a list
    std::string instance;   // its key
};

// Looks everything up, step by step. Throws as findProvider and findInstance, in that order.
Place findPlace(StoreConnection& store);

// Commands that only read, and whether their replies show that the place is still the same: for a
// caller that has found it before and sends them along with others.
std::vector<Words> lookAgain(const Place& place);
bool isStill(const Place& place, std::span<const Reply> replies);

// How many connections listen on the channel.
long long countListeners(StoreConnection& store, const std::string& channel);

// How long the provider has been listening: the age of the connection that is named like
// its channel. Nothing when there is no such connection.
std::optional<std::chrono::seconds> listeningFor(StoreConnection& store,
                                                 const std::string& channel);

} // namespace client
