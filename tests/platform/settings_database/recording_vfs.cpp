#include "tests/platform/settings_database/recording_vfs.h"

#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sqlite3.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace test {

namespace {

using Kind = DiskOperation::Kind;

constexpr int kNoFile = -1;

// The recording in progress.
class Recorder {
public:
    Recorder(std::string folder, SyncManners manners)
        : folder_(std::filesystem::canonical(folder)), manners_(manners) {
        log_.start = readImage(folder_);
        std::erase_if(log_.start, [](const auto& entry) { return entry.first.ends_with("-shm"); });
        for (const auto& [path, contents] : log_.start) {
            if (contents) {
                files_[path] = fileCount_++;
            }
        }
    }

    void add(DiskOperation operation) { log_.operations.push_back(std::move(operation)); }
    SyncManners manners() const { return manners_; }
    DiskLog log() const { return log_; }

    // The path as recorded; nothing outside the folder, "" for the folder itself.
    std::optional<std::string> inside(const std::string& path) const {
        if (path == folder_) {
            return "";
        }
        return path.starts_with(folder_ + "/") ? std::optional(path.substr(folder_.size() + 1))
                                               : std::nullopt;
    }

    int fileOf(const std::string& path) const {
        const auto found = files_.find(path);
        return found == files_.end() ? kNoFile : found->second;
    }

    int create(const std::string& path) {
        const int file = fileCount_++;
        files_[path] = file;
        add({.kind = Kind::create, .file = file, .path = path});
        return file;
    }
    void unlink(const std::string& path) {
        if (files_.erase(path) > 0) {
            add({.kind = Kind::unlink, .path = path});
        }
    }
    void rename(const std::string& path, const std::string& target) {
        if (auto entry = files_.extract(path)) {
            files_[target] = entry.mapped();
            add({.kind = Kind::rename, .path = path, .target = target});
        }
    }
    void syncFile(const std::string& path) {
        if (const int file = fileOf(path); file != kNoFile) {
            add({.kind = Kind::syncFile, .file = file});
        }
    }

private:
    std::string folder_;
    SyncManners manners_;
    DiskLog log_;
    std::map<std::string, int> files_;
    int fileCount_ = 0;
};

std::unique_ptr<Recorder>& recorder() {
    static std::unique_ptr<Recorder> current;
    return current;
}

// The path as recorded, or nothing while there is no recording.
std::optional<std::string> recorded(const char* path) {
    if (recorder() == nullptr || path == nullptr) {
        return std::nullopt;
    }
    const std::filesystem::path absolute = std::filesystem::absolute(path).lexically_normal();
    return recorder()->inside(absolute);
}

void noteSync(int descriptor) {
    if (recorder() == nullptr) {
        return;
    }
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    std::error_code ignored;
    const std::filesystem::path target = std::filesystem::read_symlink(link, ignored);
    const std::optional<std::string> path = recorded(target.c_str());
    if (!path) {
        return;
    }
    if (!std::filesystem::is_directory(target)) {
        recorder()->syncFile(*path);
    } else if (recorder()->manners() != SyncManners::liesAboutFolders) {
        recorder()->add({.kind = Kind::syncFolder, .path = *path});
    }
}

// ---- The VFS ----

// What SQLite sees as a file; the system's own object follows it in memory.
struct RecordedFile {
    sqlite3_file base;
    const char* name; // SQLite keeps it until the file is closed; null for a temporary file

    sqlite3_file* system() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};
static_assert(sizeof(RecordedFile) % alignof(std::max_align_t) == 0);

RecordedFile& recordedFile(sqlite3_file* file) {
    return *reinterpret_cast<RecordedFile*>(file);
}

// Passes a method on unchanged.
template <auto method>
struct Pass;
template <typename... Arguments, int (*sqlite3_io_methods::*method)(sqlite3_file*, Arguments...)>
struct Pass<method> {
    static int call(sqlite3_file* file, Arguments... arguments) {
        sqlite3_file* system = recordedFile(file).system();
        return (system->pMethods->*method)(system, arguments...);
    }
};
using Methods = sqlite3_io_methods;

// Records a successful change of a file.
int noted(int code, const RecordedFile& file, DiskOperation operation) {
    if (const std::optional<std::string> path = recorded(file.name); code == SQLITE_OK && path) {
        operation.file = recorder()->fileOf(*path);
        recorder()->add(std::move(operation));
    }
    return code;
}

int writeFileAt(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
    RecordedFile& own = recordedFile(file);
    return noted(own.system()->pMethods->xWrite(own.system(), bytes, size, offset), own,
                 {.kind = Kind::write,
                  .offset = static_cast<std::size_t>(offset),
                  .bytes = {static_cast<const char*>(bytes), static_cast<std::size_t>(size)}});
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
    RecordedFile& own = recordedFile(file);
    return noted(own.system()->pMethods->xTruncate(own.system(), size), own,
                 {.kind = Kind::truncate, .offset = static_cast<std::size_t>(size)});
}

int syncFile(sqlite3_file* file, int flags) {
    if (recorder() != nullptr && recorder()->manners() == SyncManners::liesAboutFiles) {
        return SQLITE_OK;
    }
    return Pass<&Methods::xSync>::call(file, flags);
}

void barrier(sqlite3_file* file) {
    sqlite3_file* system = recordedFile(file).system();
    system->pMethods->xShmBarrier(system);
}

const Methods kMethods = {
    3,
    Pass<&Methods::xClose>::call,
    Pass<&Methods::xRead>::call,
    writeFileAt,
    truncateFile,
    syncFile,
    Pass<&Methods::xFileSize>::call,
    Pass<&Methods::xLock>::call,
    Pass<&Methods::xUnlock>::call,
    Pass<&Methods::xCheckReservedLock>::call,
    Pass<&Methods::xFileControl>::call,
    Pass<&Methods::xSectorSize>::call,
    Pass<&Methods::xDeviceCharacteristics>::call,
    Pass<&Methods::xShmMap>::call,
    Pass<&Methods::xShmLock>::call,
    barrier,
    Pass<&Methods::xShmUnmap>::call,
    Pass<&Methods::xFetch>::call,
    Pass<&Methods::xUnfetch>::call,
};

sqlite3_vfs* systemVfs() {
    static sqlite3_vfs* const system = sqlite3_vfs_find("unix");
    return system;
}

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    RecordedFile& own = recordedFile(file);
    own.base.pMethods = nullptr;
    own.name = name;
    const bool wasThere = name != nullptr && ::access(name, F_OK) == 0;
    const int code = systemVfs()->xOpen(systemVfs(), name, own.system(), flags, outFlags);
    if (own.system()->pMethods != nullptr) {
        own.base.pMethods = &kMethods;
    }
    if (const std::optional<std::string> path = recorded(name);
        code == SQLITE_OK && path && !wasThere) {
        recorder()->create(*path);
    }
    return code;
}

// Recorded first: the call itself syncs the folder.
int deleteFile(sqlite3_vfs*, const char* name, int syncFolder) {
    if (const std::optional<std::string> path = recorded(name)) {
        recorder()->unlink(*path);
    }
    return systemVfs()->xDelete(systemVfs(), name, syncFolder);
}

} // namespace

void installRecordingVfs() {
    static sqlite3_vfs own = *systemVfs();
    own.zName = "recording";
    own.szOsFile += static_cast<int>(sizeof(RecordedFile));
    own.xOpen = openFile;
    own.xDelete = deleteFile;
    if (sqlite3_vfs_register(&own, 1) != SQLITE_OK) {
        throw std::runtime_error("SQLite refuses the recording VFS");
    }
}

Recording::Recording(const std::string& folder, SyncManners manners) {
    recorder() = std::make_unique<Recorder>(folder, manners);
}

Recording::~Recording() {
    recorder() = nullptr;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): of this recording
void Recording::acknowledge() {
    recorder()->add({.kind = Kind::acknowledge});
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): of this recording
DiskLog Recording::finish() {
    DiskLog log = recorder()->log();
    recorder() = nullptr;
    return log;
}

} // namespace test

// These override the C library's, for SQLite and the settings-database library.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): libc's are reserved
extern "C" int fsync(int descriptor) {
    test::noteSync(descriptor);
    return 0;
}
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int fdatasync(int descriptor) {
    test::noteSync(descriptor);
    return 0;
}
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): libc's are reserved
extern "C" int rename(const char* from, const char* to) noexcept {
    const int code = ::renameat(AT_FDCWD, from, AT_FDCWD, to);
    const std::optional<std::string> path = test::recorded(from);
    const std::optional<std::string> target = test::recorded(to);
    if (code == 0 && path && target) {
        test::recorder()->rename(*path, *target);
    }
    return code;
}
extern "C" int mkdir(const char* path, mode_t mode) noexcept {
    const int code = ::mkdirat(AT_FDCWD, path, mode);
    const std::optional<std::string> made = test::recorded(path);
    if (code == 0 && made) {
        test::recorder()->add({.kind = test::DiskOperation::Kind::makeFolder, .path = *made});
    }
    return code;
}
