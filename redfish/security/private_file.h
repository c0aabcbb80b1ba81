// Files that hold secrets: only their owner may read them, and they are there whole or not.
#pragma once

#include <filesystem>
#include <string>

namespace redfish {

// Replaces the file in one step that outlasts a power cut. Mode 0600. Throws
// std::runtime_error; the old file stays then.
void writePrivateFile(const std::filesystem::path& file, const std::string& text);

// The whole text. Throws std::runtime_error where it cannot be read, or where others than the
// owner may read or write it.
std::string readPrivateFile(const std::filesystem::path& file);

} // namespace redfish
