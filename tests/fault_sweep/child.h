// A life in a child process that ends by exit(), as the daemon does, and reports its calls and its
// output up to the last exit handler.
#pragma once

#include "tests/fault_sweep/replay.h"

#include <functional>
#include <string>

namespace fault_sweep {

struct ChildEnd {
    int status = -1; // of waitpid
    bool reported = false;
    RecordedRun run;
    std::string note; // from the child
    int openConnections = -1;
    int blocks = -1; // allocated during the life and not freed
};

// Runs the body in a child, a copy of this process. The body must end it by exit().
ChildEnd runInChild(const std::function<void()>& body);

// --- For the body ---

// Begins the run: earlier calls, output and allocations do not count.
void beginRun();

// Calls and output between these two do not count either.
void leaveOut();
void goOn();

void note(const std::string& text);

} // namespace fault_sweep
