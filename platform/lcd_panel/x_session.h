// One exchange with an X server about its screen saver, over a connection of its own that the
// server may drop at any moment. It can block for ever; screen_saver.h bounds it.
#pragma once

#include <atomic>
#include <string>

namespace lcdpanel {

struct Change {
    enum class Kind { timeOut, darken, light };
    Kind kind;
    int seconds = 0; // of a timeOut: 0 (never) to 32767
};

enum class Outcome {
    done,      // the server confirmed the change
    noServer,  // could not connect
    lost,      // the connection broke half-way
    refused,   // the server answered with an error
    abandoned, // nobody is waiting any more: nothing was changed
    late,      // no confirmation within the bound
    stuck,     // a late exchange is still running: nothing was attempted
};

// The reason for log lines.
const char* describe(Outcome outcome);

// Opens the display, makes the change, waits for its confirmation, closes the display.
//   abandoned  checked once the display is open, before the change is made
//   thread     any, one at a time
// Sets libx11's two process-wide error handlers; this library owns both.
Outcome changeScreenSaver(const std::string& display, const Change& change,
                          const std::atomic<bool>& abandoned);

} // namespace lcdpanel
