// One exchange with an X server about its screen saver, over a connection of its own that
// the server may drop at any moment. It may take for ever: screen_saver.h bounds it.
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
    done,      // the server has confirmed that it took the change
    noServer,  // no connection
    lost,      // the connection broke on the way
    refused,   // the server answered with an error
    abandoned, // nobody waits for it any more: nothing was changed
    late,      // no confirmation within the bound
    stuck,     // a late exchange has not ended yet: nothing was tried
};

const char* describe(Outcome outcome);

// Opens the display, makes the change, waits for its confirmation, closes the display.
//   abandoned  looked at once the display is open, before the change is made
//   thread     any, one at a time
// Libx11 reports to two process-wide handlers; this library owns both.
Outcome changeScreenSaver(const std::string& display, const Change& change,
                          const std::atomic<bool>& abandoned);

} // namespace lcdpanel
