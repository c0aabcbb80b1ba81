// What the taken-over functions of the C library do. How they are taken over is left to
// wrap.cpp (test programs) and preload.cpp (the daemon itself).
#include "tests/doubles/libc_double.h"

#include "tests/doubles/recorder.h"

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
    recordAllocations(false);
}

namespace {

// The result of a call that fails with this error, or of one that does not.
int giveErrno(int error) {
    if (error == 0) {
        return 0;
    }
    errno = error;
    return -1;
}

} // namespace

int onUsleep(unsigned int microseconds) {
    const int error = enter("usleep", arguments(microseconds));
    if (duringPause()) {
        duringPause()();
    }
    return giveErrno(error);
}

unsigned int onSleep(unsigned int seconds) {
    return static_cast<unsigned int>(enter("sleep", arguments(seconds)));
}

namespace {

std::FILE* noFile(int error) {
    errno = error;
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

namespace {

std::FILE* openMarker(const char* mode, const Fault& fault) {
    if (fault) {
        return noFile(fault.code);
    }
    return files().markerFailures-- > 0 ? noFile(refused(ENOENT))
                                        : openFile(files().markerPath.c_str(), mode);
}

std::FILE* openManagingMode(const Fault& fault) {
    switch (fault.shape) {
    case Shape::emptyText:
        return fileWith({});
    case Shape::unreadable:
        return openFile("/", "r"); // a directory opens, and cannot be read
    case Shape::none:
        return files().managingMode ? fileWith(*files().managingMode) : noFile(refused(ENOENT));
    default:
        return noFile(fault.code);
    }
}

} // namespace

std::FILE* onFopen(const char* path, const char* mode) {
    const bool isMarker = std::strcmp(path, kRunMarkerFile) == 0;
    if (!isMarker && std::strcmp(path, kManagingModeFile) != 0) {
        return openFile(path, mode);
    }
    const Lock lock(mutex());
    const Fault fault = enterCall("fopen", arguments(path, mode));
    return isMarker ? openMarker(mode, fault) : openManagingMode(fault);
}

int onUnlink(const char* path) {
    if (std::strcmp(path, kRunMarkerFile) != 0 && std::strcmp(path, kBuzzerSilenceFile) != 0) {
        return removeFile(path);
    }
    const Lock lock(mutex());
    const int error = enter("unlink", arguments(path));
    return giveErrno(error == 0 && files().unlinkResult != 0 ? refused(ENOENT) : error);
}

} // namespace detail
} // namespace doubles
