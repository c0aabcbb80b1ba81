// A life in a process of its own: a child of the test that ends by exit(), as the daemon does, and
// reports what it called and wrote up to its last exit handler.
#pragma once

#include "tests/fault_sweep/replay.h"

#include <functional>
#include <string>

namespace fault_sweep {

struct ChildEnd {
    int status = -1; // of waitpid
    bool reported = false;
    RecordedRun run;
    std::string note; // what the child said of itself
    int openConnections = -1;
    int blocks = -1; // in use at the end, less those at the beginning
};

// Runs the body in a child, which starts as a copy of this process. The body ends it by exit().
ChildEnd runInChild(const std::function<void()>& body);

// --- For the body ---

// The run begins here: what was recorded, written and allocated before does not count.
void beginRun();

// What was recorded and written between these two does not count either.
void leaveOut();
void goOn();

void note(const std::string& text);

} // namespace fault_sweep
