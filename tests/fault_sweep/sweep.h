// The sweep: one run without a fault, then for each call and each way in which it may fail one run
// with this fault, one in which its neighbour fails too, and one in which its function fails from
// then on.
//
// The neighbour is the next call of the failing run, often part of the roll-back or of the answer.
#pragma once

#include "tests/fault_sweep/failing_results.h"
#include "tests/fault_sweep/replay.h"

#include <functional>
#include <string>
#include <vector>

namespace fault_sweep {

// A call to fail, by its number among those that can: 1, 2, ...
struct Planned {
    int number;
    doubles::Fault fault;
    bool andLater = false; // and all later calls of its function
};
using Plan = std::vector<Planned>;

// Passes it to the doubles.
void arm(const Plan& plan);

// Runs once with these faults and checks what must hold in every case.
using RunOnce = std::function<RecordedRun(const Plan& plan)>;

struct Counts {
    int successful = 0; // without a fault
    int single = 0;
    int lasting = 0;
    int pairs = 0;

    int total() const { return successful + single + lasting + pairs; }
    Counts& operator+=(const Counts& other);
};

enum class Extent {
    everything,
    singleFaults, // no pairs
    newCalls,     // single faults of calls that no sweep of this extent in this process has met yet
};

// Runs the sweep and adds the counts to the test's properties and, of everything, to the program's
// total. Fails the test if a planned fault did not happen.
Counts sweep(Where where, const RunOnce& once, Extent extent = Extent::everything);

// The total of all sweeps of everything so far.
const Counts& totalCounts();

} // namespace fault_sweep
