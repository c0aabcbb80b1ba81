// The database as files: its folder, its header, and setting a damaged one aside. What is
// in the file is left to SQLite.
#pragma once

#include <filesystem>
#include <string>

// All of these throw std::system_error with the path in its text.

// Makes the folder of `file` and those above it, each so that it survives a power cut.
void makeFolderOf(const std::filesystem::path& file);

// Makes the names in the folder of `file` survive a power cut.
void syncFolderOf(const std::filesystem::path& file);

// Throws where there is something else than a regular file, or where it cannot be told.
// A missing file is all right.
void refuseOtherThanFile(const std::filesystem::path& file);

// Whether the header names a format that no SQLite reads or writes. SQLite itself reports
// such a file as read-only, or as an error without a code of its own.
bool hasForeignHeader(const std::filesystem::path& file);

// Renames the database and its -journal, -wal and -shm to `<file>.damaged-<UTC time>`, with
// a counter where that is taken. Returns the new name of the database.
std::filesystem::path setAside(const std::filesystem::path& file);
