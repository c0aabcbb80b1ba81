// Changes to the X server's screen saver that never hold the caller longer than a bound.
#pragma once

#include "platform/lcd_panel/x_session.h"

#include <chrono>
#include <string>

namespace lcdpanel {

constexpr std::chrono::milliseconds kScreenSaverBound{250};

// Makes the change on the display, on a thread of its own: libx11 has no time-out and waits for
// ever on a paused server. After a `late` outcome that thread lingers until the server answers or
// dies; it changes nothing more unless it had already sent the change. Until then every call
// returns `stuck` at once.
//   display  as in DISPLAY
//   thread   any; calls wait for each other
//   throws   std::system_error if no thread can be started
Outcome changeWithinBound(const std::string& display, const Change& change);

} // namespace lcdpanel
