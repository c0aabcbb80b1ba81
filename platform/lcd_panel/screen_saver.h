// A change of the X server's screen saver that never holds its caller longer than the bound.
#pragma once

#include "platform/lcd_panel/x_session.h"

#include <chrono>
#include <string>

namespace lcdpanel {

constexpr std::chrono::milliseconds kScreenSaverBound{250};

// Makes the change on the display; on a thread of its own, since libx11 knows no time limit
// and waits for ever on a server that is paused. After a `late` outcome that thread stays
// behind until the server answers or ends; it then changes nothing more unless it had sent
// the change already. Until then every call gives `stuck` at once.
//   display  as in DISPLAY
//   thread   any; calls wait for one another
//   throws   std::system_error when there is no thread to be had
Outcome changeWithinBound(const std::string& display, const Change& change);

} // namespace lcdpanel
