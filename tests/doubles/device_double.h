// The double of the cooling unit; the LCD panel's calls have no data of their own.
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
