// Files that hold secrets: readable by their owner alone, and always complete. Any thread, but one
// at a time for each file.
#pragma once

#include <filesystem>
#include <string>

namespace redfish {

// Replaces a file in one step that survives a power cut: writes a new file beside it, syncs it,
// renames it and syncs the folder. Mode 0600. Throws std::runtime_error and leaves the old file.
void writePrivateFile(const std::filesystem::path& file, const std::string& text);

// The whole text of a file. Throws std::runtime_error if it cannot be read, or if anybody but its
// owner may read or write it.
std::string readPrivateFile(const std::filesystem::path& file);

} // namespace redfish
