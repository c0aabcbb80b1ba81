// SIGTERM and SIGINT while the host waits: the first one is read from a descriptor, the next one
// ends the process.
#pragma once

#include "descriptor.h"

#include <array>
#include <csignal>

namespace plugin_host {

// Blocks the two in the calling thread, and so in every thread that it starts afterwards,
// except where one is ignored (as under nohup): that stays as it is. Main thread.
class StopSignals {
public:
    StopSignals();
    ~StopSignals(); // restores what was; a signal that came at the very end is discarded
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    // Readable when a signal has come.
    int descriptor() const { return descriptor_.number(); }

    // Takes the first signal. From now on the next one has its default action.
    void takeFirst();

private:
    struct Signal {
        int number;
        bool isCaught;
        struct sigaction before;
    };

    std::array<Signal, 2> signals_{{{SIGTERM, false, {}}, {SIGINT, false, {}}}};
    sigset_t caught_{};
    sigset_t maskBefore_{};
    Descriptor descriptor_;
    bool hasTaken_ = false;
};

} // namespace plugin_host
