// Logs a device's outage once: a line on standard error when it begins, none for the calls that
// fail while it lasts.
#pragma once

#include "log_line.h"

#include <atomic>
#include <string_view>

// Thread: any.
class Outage {
public:
    // A call failed: logs "[function]: parts" unless this outage was logged already.
    template <typename... Parts>
    void failed(std::string_view function, const Parts&... parts) {
        if (!isLogged_.exchange(true)) {
            logErrorLine(function, parts...);
        }
    }

    // A call worked. True when this ends an outage.
    bool worked() { return isLogged_.exchange(false); }

private:
    std::atomic<bool> isLogged_ = false;
};
