// For LD_PRELOAD in front of the daemon: while the file named by ORVANE_READ_ONLY_SIGN exists, no
// file can be written, as if the kernel had turned the file system read-only under open files.
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>

namespace {

bool isReadOnly() {
    const char* sign = std::getenv("ORVANE_READ_ONLY_SIGN");
    return sign != nullptr && ::access(sign, F_OK) == 0;
}

// The next function of that name.
template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

// The calls by which SQLite changes files.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): libc's are reserved
extern "C" ssize_t pwrite64(int file, const void* bytes, size_t size, off64_t offset) {
    if (isReadOnly()) {
        errno = EROFS;
        return -1;
    }
    return next<decltype(pwrite64)>("pwrite64")(file, bytes, size, offset);
}
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int ftruncate64(int file, off64_t size) noexcept {
    if (isReadOnly()) {
        errno = EROFS;
        return -1;
    }
    return next<decltype(ftruncate64)>("ftruncate64")(file, size);
}
