// Reads the witness's lines.
#include "tests/storms/journal.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace storms {

Sightings readJournal(const std::filesystem::path& file) {
    Sightings sightings;
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string what;
        std::string channel;
        int code = 0;
        words >> what >> channel;
        Seen& seen = sightings[channel];
        if (what == "request") {
            ++seen.posted;
        } else if (what == "answer" && words >> code) {
            ++seen.published;
            seen.publishedInVain += code == 0 ? 0 : 1;
        } else {
            throw std::runtime_error("the journal has a line of no known form: " + line);
        }
    }
    return sightings;
}

} // namespace storms
