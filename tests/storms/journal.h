// What the daemon itself saw of the requests, as written down by the preloaded witness.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace storms {

// The daemon's part in one request.
struct Seen {
    int posted = 0;          // handed to a worker
    int published = 0;       // answers that went out, whether or not the store confirmed
    int publishedInVain = 0; // those of them that the store did not confirm
};

// By reply channel.
using Sightings = std::map<std::string, Seen>;

// What the journal holds now. Lines of other forms throw std::runtime_error.
Sightings readJournal(const std::filesystem::path& file);

} // namespace storms
