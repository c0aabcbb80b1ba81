#include "tests/platform/settings_database/disk_model.h"

#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <filesystem>

namespace test {

namespace {

using Kind = DiskOperation::Kind;

constexpr int kFolder = -1;
constexpr std::size_t kSectorSize = 512;

std::string folderOf(const std::string& path) {
    return std::filesystem::path(path).parent_path();
}

void changeName(std::map<std::string, int>& names, const DiskOperation& operation) {
    switch (operation.kind) {
    case Kind::create:
        names[operation.path] = operation.file;
        break;
    case Kind::makeFolder:
        names[operation.path] = kFolder;
        break;
    case Kind::unlink:
        names.erase(operation.path);
        break;
    case Kind::rename:
        if (const auto found = names.find(operation.path); found != names.end()) {
            names[operation.target] = found->second;
            names.erase(operation.path);
        }
        break;
    default:
        break;
    }
}

void growTo(std::string& contents, std::size_t size) {
    if (contents.size() < size) {
        contents.resize(size, '\0');
    }
}

void write(std::string& contents, const DiskOperation& operation, std::size_t begin,
           std::size_t end) {
    growTo(contents, operation.offset + end);
    contents.replace(operation.offset + begin, end - begin, operation.bytes, begin, end - begin);
}

void changeContents(std::string& contents, const DiskOperation& operation, const Fate& fate) {
    if (fate.kind == Fate::Kind::lost) {
        return;
    }
    if (operation.kind == Kind::truncate) {
        contents.resize(operation.offset, '\0');
        return;
    }
    const std::size_t size = operation.bytes.size();
    switch (fate.kind) {
    case Fate::Kind::kept:
        write(contents, operation, 0, size);
        break;
    case Fate::Kind::torn:
        for (const auto& [begin, end] : fate.parts) {
            write(contents, operation, begin, end);
        }
        break;
    default:
        growTo(contents, operation.offset + size);
    }
}

// Some sectors of a write arrive, one of them only in its first or last part.
Fate tear(const DiskOperation& operation, std::mt19937& random) {
    Fate fate{Fate::Kind::torn};
    const std::size_t size = operation.bytes.size();
    for (std::size_t begin = 0; begin < size; begin += kSectorSize) {
        const std::size_t end = std::min(begin + kSectorSize, size);
        const std::size_t middle = begin + random() % (end - begin);
        switch (random() % 6) {
        case 0:
            fate.parts.emplace_back(begin, middle);
            break;
        case 1:
            fate.parts.emplace_back(middle, end);
            break;
        case 2:
        case 3:
            fate.parts.emplace_back(begin, end);
            break;
        default: // this sector is lost
            break;
        }
    }
    return fate;
}

Fate randomFate(const DiskOperation& operation, std::mt19937::result_type keptOfTen,
                std::mt19937& random) {
    if (operation.kind == Kind::write && random() % 3 == 0) {
        return tear(operation, random);
    }
    if (random() % 10 < keptOfTen) {
        return {Fate::Kind::kept};
    }
    return {random() % 3 == 0 ? Fate::Kind::sizeOnly : Fate::Kind::lost};
}

Survival randomSurvival(const Disk& disk, std::mt19937& random) {
    Survival survival;
    const auto keptOfTen = 1 + random() % 9;
    for (const DiskOperation& operation : disk.unsyncedContents()) {
        survival.contents.push_back(randomFate(operation, keptOfTen, random));
    }
    // A journaling file system keeps names in order; others keep any of them.
    const std::size_t count = disk.unsyncedNames().size();
    const bool isJournaled = random() % 2 == 0;
    const std::size_t first = random() % (count + 1);
    for (std::size_t i = 0; i < count; ++i) {
        survival.names.push_back(isJournaled ? i < first : random() % 2 == 0);
    }
    return survival;
}

} // namespace

Disk::Disk(const Image& start) {
    for (const auto& [path, contents] : start) {
        names_[path] = contents ? static_cast<int>(contents_.size()) : kFolder;
        if (contents) {
            contents_.push_back(*contents);
        }
    }
}

void Disk::apply(const DiskOperation& operation) {
    const auto isThisFile = [&](const DiskOperation& each) { return each.file == operation.file; };
    const auto isInThisFolder = [&](const DiskOperation& each) {
        return folderOf(each.path) == operation.path;
    };
    switch (operation.kind) {
    case Kind::write:
    case Kind::truncate:
        unsyncedContents_.push_back(operation);
        break;
    case Kind::syncFile:
        for (const DiskOperation& each : unsyncedContents_) {
            if (isThisFile(each)) {
                changeContents(contents_.at(static_cast<std::size_t>(each.file)), each,
                               {Fate::Kind::kept});
            }
        }
        std::erase_if(unsyncedContents_, isThisFile);
        break;
    case Kind::syncFolder:
        for (const DiskOperation& each : unsyncedNames_) {
            if (isInThisFolder(each)) {
                changeName(names_, each);
            }
        }
        std::erase_if(unsyncedNames_, isInThisFolder);
        break;
    case Kind::acknowledge:
        break;
    case Kind::create:
        contents_.resize(static_cast<std::size_t>(operation.file) + 1);
        [[fallthrough]];
    default:
        unsyncedNames_.push_back(operation);
    }
}

Image Disk::afterCut(const Survival& survival) const {
    std::vector<std::string> contents = contents_;
    for (std::size_t i = 0; i < unsyncedContents_.size(); ++i) {
        const DiskOperation& each = unsyncedContents_[i];
        changeContents(contents.at(static_cast<std::size_t>(each.file)), each,
                       survival.contents.at(i));
    }
    std::map<std::string, int> names = names_;
    for (std::size_t i = 0; i < unsyncedNames_.size(); ++i) {
        if (survival.names.at(i)) {
            changeName(names, unsyncedNames_[i]);
        }
    }
    Image image;
    for (const auto& [path, file] : names) {
        const std::string folder = folderOf(path);
        if (!folder.empty() && !image.contains(folder)) {
            continue; // its folder is lost
        }
        image[path] = file == kFolder ? std::nullopt
                                      : std::optional(contents.at(static_cast<std::size_t>(file)));
    }
    return image;
}

Survival allOrNothing(const Disk& disk, bool isKept) {
    const Fate fate{isKept ? Fate::Kind::kept : Fate::Kind::lost};
    return {std::vector(disk.unsyncedContents().size(), fate),
            std::vector(disk.unsyncedNames().size(), isKept)};
}

std::vector<Survival> waysToSurvive(const Disk& disk, int randomCount, std::mt19937& random) {
    const std::size_t contents = disk.unsyncedContents().size();
    const std::size_t names = disk.unsyncedNames().size();
    std::vector<Survival> ways{allOrNothing(disk, false), allOrNothing(disk, true)};
    for (const bool isKept : {true, false}) {
        const Fate fate{isKept ? Fate::Kind::kept : Fate::Kind::lost};
        for (std::size_t i = 0; i < contents; ++i) {
            Survival way = allOrNothing(disk, !isKept);
            way.names.assign(names, true); // contents without a name have no effect
            way.contents[i] = fate;
            ways.push_back(way);
        }
        for (std::size_t i = 0; i < names; ++i) {
            Survival way = allOrNothing(disk, true);
            way.names.assign(names, !isKept);
            way.names[i] = isKept;
            ways.push_back(way);
        }
    }
    for (int i = 0; i < randomCount; ++i) {
        ways.push_back(randomSurvival(disk, random));
    }
    return ways;
}

Image readImage(const std::string& folder) {
    Image image;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        image[entry.path().lexically_relative(folder)] =
            entry.is_directory() ? std::nullopt : std::optional(readFile(entry.path()));
    }
    return image;
}

void writeImage(const Image& image, const std::string& folder) {
    for (const auto& [path, contents] : image) { // a folder sorts before its contents
        const std::filesystem::path place = std::filesystem::path(folder) / path;
        if (contents) {
            writeFile(place, *contents);
        } else {
            std::filesystem::create_directory(place);
        }
    }
}

} // namespace test
