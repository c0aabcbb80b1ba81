// A disk without power: which changes were asked of it, which of them it must still hold after a
// cut, and what it may hold. Recording the changes is left to recording_vfs.h, opening what is
// left to the test.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace test {

// Files by their path in the recorded folder, with their contents; nothing: a folder.
using Image = std::map<std::string, std::optional<std::string>>;

// One thing that was asked of the disk. A file goes by a number of its own, since its name may
// change or be given away.
struct DiskOperation {
    enum class Kind {
        write,      // file, offset, bytes
        truncate,   // file, offset: the new size
        create,     // file, path
        makeFolder, // path
        unlink,     // path
        rename,     // path, target
        syncFile,   // file: its contents are safe from here on, its name is not
        syncFolder, // path: the names in it are safe from here on
        acknowledge // nothing for the disk: the caller was told that its change is done
    };
    Kind kind;
    int file = -1;
    std::size_t offset = 0;
    std::string bytes{};
    std::string path{};
    std::string target{};
};

// The start, which is safe, and what followed. The files of the start are numbered from 0 in the
// order of their paths.
struct DiskLog {
    Image start;
    std::vector<DiskOperation> operations;
};

// What becomes of one change of contents that was not synced.
struct Fate {
    enum class Kind {
        lost,
        kept,
        sizeOnly, // the file grew, what was to be in it is zeros
        torn      // of the bytes written only those in `parts` (begin, end) arrived
    };
    Kind kind = Kind::lost;
    std::vector<std::pair<std::size_t, std::size_t>> parts{};
};

// What becomes of everything that was not synced.
struct Survival {
    std::vector<Fate> contents;
    std::vector<bool> names;
};

// The disk while the operations go on; a cut may come after each.
class Disk {
public:
    explicit Disk(const Image& start);

    void apply(const DiskOperation& operation);

    // Changes that are not safe, in the order in which they were asked for.
    const std::vector<DiskOperation>& unsyncedContents() const { return unsyncedContents_; }
    const std::vector<DiskOperation>& unsyncedNames() const { return unsyncedNames_; }

    // What a cut leaves.
    Image afterCut(const Survival& survival) const;

private:
    std::vector<std::string> contents_; // what is safe, by file
    std::map<std::string, int> names_;  // what is safe; kFolder: a folder
    std::vector<DiskOperation> unsyncedContents_;
    std::vector<DiskOperation> unsyncedNames_;
};

// Everything that was not synced survives, or nothing of it.
Survival allOrNothing(const Disk& disk, bool isKept);

// The ways in which a cut is tried: nothing of the unsynced survives; all does; each single
// change alone; all but one; then `randomCount` random ones, in which any change of contents is
// kept, lost, torn or a mere size, and of the names either any of them or the first few arrived.
std::vector<Survival> waysToSurvive(const Disk& disk, int randomCount, std::mt19937& random);

// Reads the folder into an image, and writes one into an empty folder.
Image readImage(const std::string& folder);
void writeImage(const Image& image, const std::string& folder);

} // namespace test
