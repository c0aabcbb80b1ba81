// Which calls and lines must follow in a life of the daemon, or in one of the removals for tools,
// depending on the outcome of each call.
#pragma once

#include "tests/fault_sweep/expected_settings.h"
#include "tests/fault_sweep/replay.h"

#include <optional>
#include <ostream>
#include <string>

namespace fault_sweep {

enum class Course {
    wholeLife,       // `main`, from the construction of the plugin object to the last exit handler
    cleanByStore,    // OrvaneWebGUI_Clean on a tree that stands, then the exit handlers
    cleanEmptyStore, // as above, with nothing in the collection
    deletion,        // OrvaneWebGUI_Delete with a collection, then the exit handlers
};

// One life, and what it finds at its start.
struct Life {
    std::string name;
    Course course = Course::wholeLife;
    bool collectionIsSet = false;
    bool hasAlert = false;
    bool hasThemeRow = false;
    std::optional<std::string> managingMode = std::nullopt; // contents of the file
};

inline void PrintTo(const Life& life, std::ostream* stream) { // not as bytes
    *stream << life.name;
}

// Checks a run of this life. Throws Replay::Difference.
//   binding   address of the process' binding, as the first line shows it
// Returns the message ids of the answers to the two requests, a read and an update, of the life's
// wait, each with a blank behind it; empty where the daemon did not come to wait.
std::string followLife(const Life& life, const RecordedRun& run, const void* binding);

} // namespace fault_sweep
