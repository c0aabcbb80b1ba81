// Records the operations of SQLite and of the settings-database library on the disk. A SQLite VFS
// of the test's own, the default one of the process, passes everything on to the system's, so that
// locks and shared memory are real. Names and syncs are intercepted in fsync, rename and mkdir,
// because SQLite syncs folders itself.
//
// A sync is recorded but not performed: a test's disk needs none. One recording at a time, one
// thread.
#pragma once

#include "tests/platform/settings_database/disk_model.h"

#include <string>

namespace test {

// What the disk does with a sync.
enum class SyncManners {
    honest,
    liesAboutFiles,  // claims success
    liesAboutFolders // of names only
};

// Makes the VFS the process's default. Once; before a database is opened.
void installRecordingVfs();

// Records what happens in one folder until `finish`. Takes the initial contents for safe; leaves
// out the shared memory of a log, which is not on the disk.
class Recording {
public:
    explicit Recording(const std::string& folder, SyncManners manners = SyncManners::honest);
    ~Recording();
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    // Records that the caller was told that its change is done.
    void acknowledge();

    DiskLog finish();
};

} // namespace test
