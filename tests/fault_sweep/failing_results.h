// Two tables: which failing results each call may get, and by which words a failure is told. What
// else a run must look like is left to expected_requests.h and expected_life.h.
#pragma once

#include "tests/doubles/fault.h"

#include <string>
#include <vector>

namespace fault_sweep {

// The failing results that the contract of the called function allows, in the order of the table.
// Empty where the table has no row for a call.
std::vector<doubles::Fault> failingResults(const std::string& call);

enum class Where { anywhere, request, life };

// What the log must hold after this call alone has failed so.
struct Telling {
    std::string words;  // empty: the failure is silent
    std::string reason; // why it is silent, or told in other words than by the function's name
};
Telling tellingOf(const doubles::RecordedCall& call, Where where);

// The rows of both tables for these runs that no call so far has asked for.
std::vector<std::string> rowsNeverAskedFor(Where where);

} // namespace fault_sweep
