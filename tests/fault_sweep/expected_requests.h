// Which calls, lines and answer must follow in one request, depending on the outcome of each call.
// One function per step, with all its failures.
#pragma once

#include "platform/plugin_host.h"
#include "tests/fault_sweep/expected_settings.h"
#include "tests/fault_sweep/replay.h"

#include <map>
#include <ostream>
#include <string>

namespace fault_sweep {

enum class Road {
    hook,     // through the hook, which posts or refuses it
    queue,    // straight into a worker's queue
    creation, // to the dispatch, with a table of creations, which the product lacks
};

// One kind of request, and the state that it finds.
struct Request {
    std::string name;
    Road road;
    fnTypes worker; // whose queue; on the road of the hook where it has to post the request
    std::string msgId;
    std::string reqArg;
    std::map<std::string, std::string> fields = {}; // of the request object; empty: there is none
    bool instanceMatchesUnit = true;                // the stored scale is the unit's
    int managingMode = 0;
    bool hasAgent = true;
    bool hasAlert = false;
    bool hasThemeRow = true;
    bool collectionIsSet = false;
};

inline void PrintTo(const Request& request, std::ostream* stream) { // not as bytes
    *stream << request.name;
}

inline constexpr char kInstance[] = "80000000-0000-0000-0000-008000000000";
inline constexpr char kChannel[] = "Reply:1";
inline constexpr char kCollection[] = "collection";

// Checks a run of this request. Throws Replay::Difference.
void followRequest(const Request& request, const RecordedRun& run);

} // namespace fault_sweep
