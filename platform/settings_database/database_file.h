// The database as files: its folder, its header, and setting a damaged one aside.
#pragma once

#include <filesystem>
#include <string>

namespace settings_database {

// All of these throw std::system_error with the path in its text.

// Makes the folder of `file` and those above it; each survives a power cut from then on.
void makeFolderOf(const std::filesystem::path& file);

// Makes the names in the folder of `file` survive a power cut.
void syncFolderOf(const std::filesystem::path& file);

// Throws unless `file` is a regular file or missing, and where that cannot be determined.
void refuseOtherThanFile(const std::filesystem::path& file);

// Whether the header names a format that no SQLite reads or writes. SQLite itself reports
// such a file as read-only, or as an unspecific error.
bool hasForeignHeader(const std::filesystem::path& file);

// Renames the database and its -journal, -wal and -shm to `<file>.damaged-<UTC time>`, with
// a counter if that name is taken. Returns the new name of the database.
std::filesystem::path setAside(const std::filesystem::path& file);

} // namespace settings_database
