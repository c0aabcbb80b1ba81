// The panel's brightness by way of a directory of the kernel's backlight class. Range checks
// of the level are the caller's.
#pragma once

#include <filesystem>
#include <string>

namespace lcdpanel {

constexpr int kLowestLevel = 1;
constexpr int kHighestLevel = 7;
constexpr const char* kBacklightClass = "/sys/class/backlight";

// The value for a level from 1 to 7: level * maximum / 7, rounded to the nearest number and
// never 0, so that no level makes the panel dark. Level 7 is the maximum.
//   maximum  1 or more
int brightnessOf(int level, int maximum);

// The directory that LCD_BACKLIGHT names; where that is unset or empty, the first one of the
// class in alphabetical order. Empty when there is none.
std::filesystem::path backlightFolder(const std::filesystem::path& classFolder = kBacklightClass);

// Writes the level's value to `brightness` of the folder, in one write. Empty when that is
// done, otherwise what is wrong, naming the file; nothing is written then.
std::string setBrightness(const std::filesystem::path& folder, int level);

} // namespace lcdpanel
