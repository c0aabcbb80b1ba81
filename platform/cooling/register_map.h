// The registers of the cooling unit; docs/devices.md shows them for use with a Modbus client.
#pragma once

#include <cstdint>

namespace cooling {

constexpr int kUnitId = 1;

// Holding register, numbered from 0 as on the wire (clients that number from 1 call it 101).
constexpr int kTempScaleRegister = 100;
constexpr std::uint16_t kImperial = 0;
constexpr std::uint16_t kMetric = 1;

} // namespace cooling
