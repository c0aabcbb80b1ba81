// Writes down what SQLite and the settings-database library ask of the disk. Below both lies a
// SQLite VFS of the test's own, the default one of the process; it passes everything on to the
// system's, so that locks and shared memory are the real ones. Names and syncs are seen where
// they leave the process, in fsync, rename and mkdir: SQLite syncs folders by itself.
//
// A sync is noted and not done: the disk of a test needs none. One recording at a time, one thread.
#pragma once

#include "tests/platform/settings_database/disk_model.h"

#include <string>

namespace test {

// What the disk does with a sync.
enum class SyncManners {
    honest,
    liesAboutFiles,  // says that it is done
    liesAboutFolders // of names only
};

// Makes the VFS the process's default. Once; before a database is opened.
void installRecordingVfs();

// Records what happens in one folder, from its beginning to `finish`. What lies there at the
// beginning is taken for safe; the shared memory of a log is left out, since it is no file of a
// disk.
class Recording {
public:
    explicit Recording(const std::string& folder, SyncManners manners = SyncManners::honest);
    ~Recording();
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    // The caller was told that its change is done.
    void acknowledge();

    DiskLog finish();
};

} // namespace test
