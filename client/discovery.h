// Finds in the store who serves the WebGUI resource and where it lies, and what the server knows
// about the provider's subscription.
//
// For every function:
//   store   borrowed for the call
//   throws  as StoreConnection, and what it names
#pragma once

#include "client/connection.h"

namespace client {

// The type id under which the schema is registered. StoreContents when it is not.
std::string findSchemaType(StoreConnection& store);

// The channel on which the provider takes requests. StoreContents when the schema is unknown,
// NobodyThere when no provider is registered.
std::string findProvider(StoreConnection& store);

// The key of the resource's instance: the first in the schema type's instance collection, a list or
// a set (its lowest key then). StoreContents when there is none.
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

// The number of connections that listen on the channel.
long long countListeners(StoreConnection& store, const std::string& channel);

// How long the provider has been listening: the age of the connection with its channel's name.
// Nothing when there is no such connection.
std::optional<std::chrono::seconds> listeningFor(StoreConnection& store,
                                                 const std::string& channel);

} // namespace client
