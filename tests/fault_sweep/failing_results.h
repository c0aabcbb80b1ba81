// Two tables: how each call may fail, and how the log shows that.
#pragma once

#include "tests/doubles/fault.h"

#include <string>
#include <vector>

namespace fault_sweep {

// The failing results that the called function's contract allows, in table order. Empty if the
// table has no row for the call.
std::vector<doubles::Fault> failingResults(const std::string& call);

enum class Where { anywhere, request, life };

// What the log must contain if only this call has failed, in this way.
struct Telling {
    std::string words;  // empty: the failure is silent
    std::string reason; // why it is silent or does not name the function
};
Telling tellingOf(const doubles::RecordedCall& call, Where where);

// The rows of both tables for these runs that no call has used so far.
std::vector<std::string> rowsNeverAskedFor(Where where);

} // namespace fault_sweep
