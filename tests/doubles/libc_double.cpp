// What the taken-over functions of the C library do. How they are taken over is left to
// wrap.cpp (test programs) and preload.cpp (the daemon itself).
#include "doubles/libc_double.h"

#include "doubles/recorder.h"

#include <cerrno>
#include <cstring>

namespace doubles {

Files& files() {
    static auto* const files = new Files;
    return *files;
}

std::function<void()>& duringPause() {
    static auto* const function = new std::function<void()>;
    return *function;
}

namespace detail {

void resetLibc() {
    files() = Files{};
    duringPause() = nullptr;
    failAllocation(0);
}

int onUsleep(unsigned int microseconds) {
    record("usleep", arguments(microseconds));
    if (duringPause()) {
        duringPause()();
    }
    return 0;
}

unsigned int onSleep(unsigned int seconds) {
    record("sleep", arguments(seconds));
    return 0;
}

namespace {

std::FILE* noSuchFile() {
    errno = ENOENT;
    return nullptr;
}

std::FILE* fileWith(const std::string& contents) {
    std::FILE* const file = std::tmpfile();
    if (file != nullptr) {
        std::fwrite(contents.data(), 1, contents.size(), file);
        std::rewind(file);
    }
    return file;
}

} // namespace

std::FILE* onFopen(const char* path, const char* mode) {
    if (std::strcmp(path, kRunMarkerFile) == 0) {
        const Lock lock(mutex());
        record("fopen", arguments(path, mode));
        return files().markerFailures-- > 0 ? noSuchFile()
                                            : openFile(files().markerPath.c_str(), mode);
    }
    if (std::strcmp(path, kManagingModeFile) == 0) {
        const Lock lock(mutex());
        record("fopen", arguments(path, mode));
        return files().managingMode ? fileWith(*files().managingMode) : noSuchFile();
    }
    return openFile(path, mode);
}

int onUnlink(const char* path) {
    if (std::strcmp(path, kRunMarkerFile) != 0 && std::strcmp(path, kBuzzerSilenceFile) != 0) {
        return removeFile(path);
    }
    const Lock lock(mutex());
    record("unlink", arguments(path));
    if (files().unlinkResult != 0) {
        errno = ENOENT;
    }
    return files().unlinkResult;
}

} // namespace detail
} // namespace doubles
