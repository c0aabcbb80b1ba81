// Tells a device's outage once: a line on standard error when it begins, none for the
// calls that fail in its course. What the lines say is the business of each library.
#pragma once

#include "log_line.h"

#include <atomic>
#include <string_view>

// Thread: any.
class Outage {
public:
    // A call failed: writes "[function]: parts" unless this outage is told already.
    template <typename... Parts>
    void failed(std::string_view function, const Parts&... parts) {
        if (!told_.exchange(true)) {
            logErrorLine(function, parts...);
        }
    }

    // A call worked. True when that ends an outage.
    bool worked() { return told_.exchange(false); }

private:
    std::atomic<bool> told_ = false;
};
