// Signals that end the program in order.
#pragma once

#include "client/stop.h"

namespace orvanectl {

// From now on the first SIGINT, SIGTERM or SIGHUP requests the stop, which ends every wait and
// removes what the command left in the store; a second one kills the process. SIGPIPE is ignored.
// `stop` must outlive the process's last signal: it is borrowed for good.
void installInterrupts(client::Stop& stop);

// The signal that requested the stop; 0 if none did.
int caughtSignal();

} // namespace orvanectl
