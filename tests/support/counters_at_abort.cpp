// Saves the coverage counters of a test's process that ends by abort, as a death test's does: the
// compiler's own code saves them at an ordinary exit only. Part of each test program of the preset
// coverage, and of no other.
#include <csignal>

extern "C" void __gcov_dump();

namespace {

void saveCounters(int number) {
    __gcov_dump();
    std::raise(number); // the handler is gone by then
}

const int installed = [] {
    struct sigaction action {};
    action.sa_handler = saveCounters;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
    return ::sigaction(SIGABRT, &action, nullptr);
}();

} // namespace
