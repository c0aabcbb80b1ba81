// What the daemon itself saw of the requests, as recorded by the preloaded witness.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace storms {

// The daemon's part in one request.
struct Seen {
    int posted = 0;          // handed to a worker
    int published = 0;       // answers sent, confirmed by the store or not
    int publishedInVain = 0; // those that the store did not confirm
};

// By reply channel.
using Sightings = std::map<std::string, Seen>;

// Reads the journal as it is now. Throws std::runtime_error for malformed lines.
Sightings readJournal(const std::filesystem::path& file);

} // namespace storms
