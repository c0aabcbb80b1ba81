// How much address space this process has taken at most, for tests of what must not be taken.
#pragma once

#include "tests/support/temporary_folder.h"

#include <cstddef>
#include <string>

namespace test {

// In MiB. Address space, so that memory counts that was allocated and never touched.
inline std::size_t peakMemory() {
    const std::string status = readFile("/proc/self/status");
    return std::stoull(status.substr(status.find("VmPeak:") + 7)) / 1024;
}

// What the body adds to the peak, in MiB.
template <typename Body>
std::size_t memoryTakenBy(Body body) {
    const std::size_t before = peakMemory();
    body();
    return peakMemory() - before;
}

} // namespace test
