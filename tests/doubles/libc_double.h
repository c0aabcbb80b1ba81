// The double of the C library functions that the daemon uses across the seam. `usleep` and
// `sleep` are recorded and return at once, unless the test lets a pause last.
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace doubles {

// `open` is taken over for the first two paths, `unlink` for the first and the last; these calls
// are recorded and can fail. All other paths reach the real function unrecorded.
inline constexpr const char* kRunMarkerFile = "/tmp/run/Stidre.run";
inline constexpr const char* kManagingModeFile = "/var/database/CoolingUnitManagingMode.txt";
inline constexpr const char* kBuzzerSilenceFile = "/tmp/buzzer.silence";

struct Files {
    int markerFailures = 0;                  // so many opens of the run marker fail
    std::string markerPath = "/dev/null";    // what the others open instead of it
    std::optional<std::string> managingMode; // contents of the file; nothing: there is none
    std::string managingModePath;            // opened instead of the file unless it is empty
    int unlinkResult = 0;                    // -1 sets errno to ENOENT
};
Files& files();

// Runs inside each `usleep` after it was recorded, without the doubles' lock: a test blocks here
// to hold a thread in its pause. Set while no other thread pauses.
std::function<void()>& duringPause();

// The nth malloc or calloc that the test's program makes from now on in this thread gives
// null: 1, 2, ... Operator new is not touched. 0 calls it off. (Not in the shared library.)
void failAllocation(int nth);

// Allocations since the last call of failAllocation, and whether its null was given.
int allocations();
bool allocationFailed();

// From now on each malloc and calloc of the test's program is recorded and can fail like any other
// call, "calloc(5, 8)". (Not in the shared library.)
void recordAllocations(bool recorded);

// Blocks of memory that the doubles handed out or that the test's program allocated, since the
// first call of this function, and that were not freed. (Not in the shared library.)
int liveBlocks();

} // namespace doubles
