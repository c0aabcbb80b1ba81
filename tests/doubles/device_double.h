// The double of the cooling unit; the LCD panel has no data of its own.
#pragma once

#include "platform/cooling.h"
#include "platform/lcd_panel.h"

#include <string>

namespace doubles {

struct CoolingUnit {
    int scale = 1; // read by CoolGetTempScale, written by CoolSetTempScale
    std::string text = "scale";
};
CoolingUnit& coolingUnit();

} // namespace doubles
