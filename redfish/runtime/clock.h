// The clock of everything that expires in this process: sessions, lockouts, time-outs. It never
// jumps, so it says nothing about the time of day.
#pragma once

#include <chrono>

namespace redfish {

using Clock = std::chrono::steady_clock;

} // namespace redfish
