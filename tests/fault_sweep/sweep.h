// The sweep itself: one run without a fault, then one run for each call and each way in which it
// may fail, one with that call and its next neighbour failing, and one with its function failing
// from there on. What a run is, and what must hold after it, is left to the caller.
//
// Neighbours are those of the failing run: the second fault hits whatever is called next once the
// first has happened, which is often the roll-back or the answer.
#pragma once

#include "tests/fault_sweep/failing_results.h"
#include "tests/fault_sweep/replay.h"

#include <functional>
#include <string>
#include <vector>

namespace fault_sweep {

// A call that has to fail, by its number among those that can: 1, 2, ...
struct Planned {
    int number;
    doubles::Fault fault;
    bool andLater = false; // and all later calls of its function
};
using Plan = std::vector<Planned>;

// Asks the doubles for it.
void arm(const Plan& plan);

// Runs once with this plan, and checks all that must hold whatever fails.
using RunOnce = std::function<RecordedRun(const Plan& plan)>;

struct Counts {
    int successful = 0; // without a fault
    int single = 0;
    int lasting = 0;
    int pairs = 0;

    int total() const { return successful + single + lasting + pairs; }
    Counts& operator+=(const Counts& other);
};

// Sweeps, and adds the counts to the test's properties; with pairs to the total of the program,
// too. Fails the test when a planned fault was not met.
enum class Pairs { none, all };
Counts sweep(Where where, const RunOnce& once, Pairs pairs = Pairs::all);

// Of all sweeps with pairs in the program so far.
const Counts& totalCounts();

} // namespace fault_sweep
