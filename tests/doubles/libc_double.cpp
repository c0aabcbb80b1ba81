// What the intercepted functions of the C library do. wrap.cpp intercepts them in test programs,
// preload.cpp in the daemon itself.
#include "tests/doubles/libc_double.h"

#include "tests/doubles/recorder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

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

// The result of a call with this error; 0 is success.
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

struct Flag {
    int value;
    const char* name;
};
constexpr Flag kFlags[] = {{O_CREAT, "O_CREAT"},
                           {O_TRUNC, "O_TRUNC"},
                           {O_NOFOLLOW, "O_NOFOLLOW"},
                           {O_NONBLOCK, "O_NONBLOCK"},
                           {O_CLOEXEC, "O_CLOEXEC"}};
constexpr const char* kAccess[] = {"O_RDONLY", "O_WRONLY", "O_RDWR"};

// As in code: "O_RDWR | O_CREAT".
Plain showFlags(int flags) {
    std::string text = kAccess[flags & O_ACCMODE];
    for (const Flag& flag : kFlags) {
        if ((flags & flag.value) != 0) {
            text += std::string(" | ") + flag.name;
        }
    }
    return {text};
}

int fileWith(const std::string& contents) {
    const int file = ::memfd_create("contents", MFD_CLOEXEC);
    if (::write(file, contents.data(), contents.size()) < 0 || ::lseek(file, 0, SEEK_SET) < 0) {
        std::abort();
    }
    return file;
}

int openMarker(int flags, mode_t mode, const Fault& fault) {
    if (fault) {
        return giveErrno(fault.code);
    }
    return files().markerFailures-- > 0 ? giveErrno(refused(ENOENT))
                                        : openFile(files().markerPath.c_str(), flags, mode);
}

int openManagingMode(int flags, const Fault& fault) {
    switch (fault.shape) {
    case Shape::emptyText:
        return fileWith({});
    case Shape::unreadable:
        return openFile("/", flags, 0); // a directory can be opened but not read
    case Shape::none:
        if (!files().managingModePath.empty()) {
            return openFile(files().managingModePath.c_str(), flags, 0);
        }
        return files().managingMode ? fileWith(*files().managingMode) : giveErrno(refused(ENOENT));
    default:
        return giveErrno(fault.code);
    }
}

} // namespace

int onOpen(const char* path, int flags, mode_t mode) {
    const bool isMarker = std::strcmp(path, kRunMarkerFile) == 0;
    if (!isMarker && std::strcmp(path, kManagingModeFile) != 0) {
        return openFile(path, flags, mode);
    }
    const Lock lock(mutex());
    const Fault fault = enterCall("open", arguments(path, showFlags(flags)));
    return isMarker ? openMarker(flags, mode, fault) : openManagingMode(flags, fault);
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
