// The double of the C library functions that the daemon calls across the seam. `usleep` and `sleep`
// are recorded and return at once, unless the test makes a pause last.
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace doubles {

// `open` is intercepted for the first two paths, `unlink` for the first and the last; these calls
// are recorded and can fail. Other paths reach the real function unrecorded.
inline constexpr const char* kRunMarkerFile = "/tmp/run/Stidre.run";
inline constexpr const char* kManagingModeFile = "/var/database/CoolingUnitManagingMode.txt";
inline constexpr const char* kBuzzerSilenceFile = "/tmp/buzzer.silence";

struct Files {
    int markerFailures = 0;                  // number of opens of the run marker that fail
    std::string markerPath = "/dev/null";    // opened instead of it by the others
    std::optional<std::string> managingMode; // contents of the file; nothing: no such file
    std::string managingModePath;            // opened instead of the file unless it is empty
    int unlinkResult = 0;                    // -1 sets errno to ENOENT
};
Files& files();

// Runs inside each `usleep` after it was recorded, without the doubles' lock, so that a test can
// hold a thread in its pause. Set it while no other thread pauses.
std::function<void()>& duringPause();

// Makes the nth malloc or calloc of the test program from now on in this thread return null: 1, 2,
// ... 0 cancels it. Does not affect operator new. (Not in the shared library.)
void failAllocation(int nth);

// The number of allocations since the last call of failAllocation, and whether one failed.
int allocations();
bool allocationFailed();

// From now on each malloc and calloc of the test program is recorded and can fail like any other
// call: "calloc(5, 8)". (Not in the shared library.)
void recordAllocations(bool recorded);

// The number of blocks that the doubles handed out or the test program allocated since the first
// call of this function and that were not freed. (Not in the shared library.)
int liveBlocks();

} // namespace doubles
