// Folders and names are made durable by syncing the folder that holds them.
#include "platform/settings_database/database_file.h"

#include "descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace settings_database {

namespace fs = std::filesystem;

namespace {

// The database first: SQLite ignores a -wal or -journal whose database is gone, but would take a
// database without its -journal for whole.
constexpr const char* kCompanions[] = {"", "-journal", "-wal", "-shm"};

constexpr int kLastFormatVersion = 2; // header bytes 18 and 19: 1 rollback journal, 2 WAL
constexpr int kLastSchemaFormat = 4;  // header byte 47, the last of a number

[[noreturn]] void failWith(const fs::path& path) {
    throw std::system_error(errno, std::generic_category(), path.string());
}

fs::path folderOf(const fs::path& file) {
    const fs::path folder = file.parent_path();
    return folder.empty() ? fs::path(".") : folder;
}

bool isTaken(const fs::path& path) {
    return fs::exists(fs::symlink_status(path));
}

fs::path withSuffix(const fs::path& path, const std::string& suffix) {
    return path.string() + suffix;
}

bool isAnyTaken(const fs::path& name) {
    return std::ranges::any_of(kCompanions, [&name](const char* companion) {
        return isTaken(withSuffix(name, companion));
    });
}

fs::path nameForDamaged(const fs::path& file) {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    ::gmtime_r(&now, &parts);
    std::array<char, 32> stamp{};
    std::strftime(stamp.data(), stamp.size(), "%Y%m%dT%H%M%SZ", &parts);
    const fs::path base = withSuffix(file, std::string(".damaged-") + stamp.data());
    fs::path name = base;
    for (int n = 2; isAnyTaken(name); ++n) {
        name = withSuffix(base, "-" + std::to_string(n));
    }
    return name;
}

} // namespace

void makeFolderOf(const fs::path& file) {
    const fs::path folder = folderOf(file);
    if (fs::exists(folder)) { // opening the file fails if it is anything but a folder
        return;
    }
    makeFolderOf(folder);
    if (::mkdir(folder.c_str(), 0755) != 0 && errno != EEXIST) {
        failWith(folder);
    }
    syncFolderOf(folder);
}

void syncFolderOf(const fs::path& file) {
    const fs::path folder = folderOf(file);
    const Descriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Nothing can be done about a folder without read permission, or a file system that cannot sync
    // folders.
    if (descriptor.number() >= 0 && ::fsync(descriptor.number()) != 0 && errno != EINVAL) {
        failWith(folder);
    }
}

void refuseOtherThanFile(const fs::path& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) {
        if (errno == ENOENT) {
            return;
        }
        failWith(file);
    }
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        failWith(file);
    }
}

bool hasForeignHeader(const fs::path& file) {
    std::array<char, 48> header{};
    std::ifstream stream(file, std::ios::binary);
    if (!stream.read(header.data(), header.size())) {
        return false;
    }
    const auto byte = [&header](std::size_t i) { return static_cast<unsigned char>(header.at(i)); };
    return byte(18) > kLastFormatVersion || byte(19) > kLastFormatVersion ||
           byte(47) > kLastSchemaFormat;
}

fs::path setAside(const fs::path& file) {
    // Resolves links: the companions lie beside the file itself.
    const fs::path original = fs::canonical(file);
    fs::path name = nameForDamaged(original);
    for (const char* companion : kCompanions) {
        const fs::path from = withSuffix(original, companion);
        if (isTaken(from) && ::rename(from.c_str(), withSuffix(name, companion).c_str()) != 0) {
            failWith(from);
        }
    }
    syncFolderOf(name);
    return name;
}

} // namespace settings_database
