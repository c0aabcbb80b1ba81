// The C library functions as the linker's --wrap option gives them to a test program: only
// references from the program's own objects come here.
#include "doubles/libc_double.h"
#include "doubles/recorder.h"

#include <cerrno>

extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
std::FILE* __real_fopen(const char* path, const char* mode);
int __real_unlink(const char* path);

void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
std::FILE* __wrap_fopen(const char* path, const char* mode);
int __wrap_unlink(const char* path);
int __wrap_usleep(unsigned int microseconds);
unsigned int __wrap_sleep(unsigned int seconds);

} // extern "C"

namespace doubles {

namespace {

thread_local int g_allocations = 0;
thread_local int g_failingAllocation = 0;

bool allocationFails() {
    if (++g_allocations != g_failingAllocation) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

} // namespace

void failAllocation(int nth) {
    g_allocations = 0;
    g_failingAllocation = nth;
}

int allocations() {
    return g_allocations;
}

bool allocationFailed() {
    return g_failingAllocation > 0 && g_allocations >= g_failingAllocation;
}

namespace detail {

void* allocate(std::size_t size) {
    return __real_malloc(size);
}

std::FILE* openFile(const char* path, const char* mode) {
    return __real_fopen(path, mode);
}

int removeFile(const char* path) {
    return __real_unlink(path);
}

} // namespace detail
} // namespace doubles

extern "C" {

void* __wrap_malloc(std::size_t size) {
    return doubles::allocationFails() ? nullptr : __real_malloc(size);
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return doubles::allocationFails() ? nullptr : __real_calloc(count, size);
}

std::FILE* __wrap_fopen(const char* path, const char* mode) {
    return doubles::detail::onFopen(path, mode);
}

int __wrap_unlink(const char* path) {
    return doubles::detail::onUnlink(path);
}

int __wrap_usleep(unsigned int microseconds) {
    return doubles::detail::onUsleep(microseconds);
}

unsigned int __wrap_sleep(unsigned int seconds) {
    return doubles::detail::onSleep(seconds);
}

} // extern "C"
