// A disk after a power cut: which changes it must still hold, and which it may.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace test {

// Files by path in the recorded folder, with their contents; nothing stands for a folder.
using Image = std::map<std::string, std::optional<std::string>>;

// One operation on the disk. Files go by number, since names change and are reused.
struct DiskOperation {
    enum class Kind {
        write,      // file, offset, bytes
        truncate,   // file, offset: the new size
        create,     // file, path
        makeFolder, // path
        unlink,     // path
        rename,     // path, target
        syncFile,   // file: its contents are safe from now on, its name is not
        syncFolder, // path: the names in it are safe from now on
        acknowledge // no operation: the caller was told that its change is done
    };
    Kind kind;
    int file = -1;
    std::size_t offset = 0;
    std::string bytes{};
    std::string path{};
    std::string target{};
};

// The initial state, which is safe, and the operations on it. Initial files are numbered from 0 in
// the order of their paths.
struct DiskLog {
    Image start;
    std::vector<DiskOperation> operations;
};

// The fate of one change of contents that was not synced.
struct Fate {
    enum class Kind {
        lost,
        kept,
        sizeOnly, // the file grew, but holds zeros
        torn      // only the bytes in `parts` (begin, end) arrived
    };
    Kind kind = Kind::lost;
    std::vector<std::pair<std::size_t, std::size_t>> parts{};
};

// The fate of everything that was not synced.
struct Survival {
    std::vector<Fate> contents;
    std::vector<bool> names;
};

// The disk during the operations; the power may be cut after each.
class Disk {
public:
    explicit Disk(const Image& start);

    void apply(const DiskOperation& operation);

    // Changes that are not safe yet, in order.
    const std::vector<DiskOperation>& unsyncedContents() const { return unsyncedContents_; }
    const std::vector<DiskOperation>& unsyncedNames() const { return unsyncedNames_; }

    // What is left after a cut.
    Image afterCut(const Survival& survival) const;

private:
    std::vector<std::string> contents_; // safe contents, by file
    std::map<std::string, int> names_;  // safe names; kFolder: a folder
    std::vector<DiskOperation> unsyncedContents_;
    std::vector<DiskOperation> unsyncedNames_;
};

// All unsynced changes survive, or none.
Survival allOrNothing(const Disk& disk, bool isKept);

// The outcomes to try for a cut: no unsynced change survives; all do; each one alone; all but one;
// then `randomCount` random ones, in which any change of contents is kept, lost, torn or a mere
// size, and of the names either any or the first few arrived.
std::vector<Survival> waysToSurvive(const Disk& disk, int randomCount, std::mt19937& random);

// Read the folder into an image, and write one into an empty folder.
Image readImage(const std::string& folder);
void writeImage(const Image& image, const std::string& folder);

} // namespace test
