// Signals that end the program in an orderly way.
#pragma once

#include "client/stop.h"

namespace orvanectl {

// From now on the first SIGINT, SIGTERM or SIGHUP requests the stop, so that every wait
// ends and what lies in the store is taken away; a second one ends the process at once.
// SIGPIPE is ignored. `stop` is borrowed until the end of the process.
void installInterrupts(client::Stop& stop);

// The signal that requested the stop; 0: none.
int caughtSignal();

} // namespace orvanectl
