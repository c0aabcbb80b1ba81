// The panel's brightness through a directory of the kernel's backlight class. Callers check the
// range of the level.
#pragma once

#include <filesystem>
#include <string>

namespace lcdpanel {

constexpr int kMinLevel = 1;
constexpr int kMaxLevel = 7;
constexpr const char* kBacklightClass = "/sys/class/backlight";

// The value for a level from 1 to 7: level * maximum / 7, rounded to the nearest number but never
// 0, so that no level darkens the panel. Level 7 is the maximum.
//   maximum  1 or more
int brightnessOf(int level, int maximum);

// The directory that LCD_BACKLIGHT names; if that is unset or empty, the first one of the class in
// alphabetical order. Empty if there is none.
std::filesystem::path backlightFolder(const std::filesystem::path& classFolder = kBacklightClass);

// Writes the level's value to `brightness` in the folder, in one write. Returns an empty text, or
// what is wrong with which file; then nothing was written.
std::string setBrightness(const std::filesystem::path& folder, int level);

} // namespace lcdpanel
