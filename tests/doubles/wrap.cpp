// The C library functions that the linker's --wrap option intercepts in a test program: only
// references from the program's own objects come here.
#include "tests/doubles/libc_double.h"
#include "tests/doubles/recorder.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <mutex>
#include <sqlite3.h>
#include <unordered_set>

extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void __real_free(void* memory);
void __real_sqlite3_free(void* memory);
int __real_sqlite3_exec(sqlite3* connection, const char* statement,
                        doubles::detail::RowCallback callback, void* user, char** message);
int __real_open(const char* path, int flags, ...);
int __real_unlink(const char* path);

void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void __wrap_free(void* memory);
void __wrap_sqlite3_free(void* memory);
int __wrap_sqlite3_exec(sqlite3* connection, const char* statement,
                        doubles::detail::RowCallback callback, void* user, char** message);
int __wrap_open(const char* path, int flags, ...);
int __wrap_unlink(const char* path);
int __wrap_usleep(unsigned int microseconds);
unsigned int __wrap_sleep(unsigned int seconds);

} // extern "C"

namespace doubles {

namespace {

thread_local int g_allocations = 0;
thread_local int g_failingAllocation = 0;
std::atomic<bool> g_recordsAllocations = false;

// The blocks in use since the first request for their count. Never destroyed: the program frees
// memory until its very end.
class Blocks {
public:
    static Blocks& all() {
        static auto* const blocks = new Blocks;
        return *blocks;
    }
    void* add(void* memory) {
        if (!counts_) {
            return memory;
        }
        const std::lock_guard lock(mutex_);
        if (memory != nullptr) {
            blocks_.insert(memory);
        }
        return memory;
    }
    void remove(void* memory) {
        if (!counts_) {
            return;
        }
        const std::lock_guard lock(mutex_);
        blocks_.erase(memory);
    }
    int count() {
        counts_ = true;
        const std::lock_guard lock(mutex_);
        return static_cast<int>(blocks_.size());
    }

private:
    std::atomic<bool> counts_ = false;
    std::mutex mutex_;
    std::unordered_set<void*> blocks_;
};

bool allocationFails(const char* function, const std::string& arguments) {
    const bool byRecord = g_recordsAllocations && detail::enter(function, arguments) != 0;
    if (++g_allocations != g_failingAllocation && !byRecord) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

std::string show(std::size_t size) {
    return std::to_string(size);
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

void recordAllocations(bool recorded) {
    g_recordsAllocations = recorded;
}

int liveBlocks() {
    return Blocks::all().count();
}

namespace detail {

void* allocate(std::size_t size) {
    return Blocks::all().add(__real_malloc(size));
}

void handOut(void* memory) {
    Blocks::all().add(memory);
}

int execute(sqlite3* connection, const char* statement, RowCallback callback, void* user,
            char** message) {
    return __real_sqlite3_exec(connection, statement, callback, user, message);
}

int openFile(const char* path, int flags, mode_t mode) {
    return __real_open(path, flags, mode);
}

int removeFile(const char* path) {
    return __real_unlink(path);
}

} // namespace detail
} // namespace doubles

extern "C" {

void* __wrap_malloc(std::size_t size) {
    return doubles::allocationFails("malloc", doubles::show(size))
               ? nullptr
               : doubles::Blocks::all().add(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return doubles::allocationFails("calloc", doubles::show(count) + ", " + doubles::show(size))
               ? nullptr
               : doubles::Blocks::all().add(__real_calloc(count, size));
}

void __wrap_free(void* memory) {
    doubles::Blocks::all().remove(memory); // first: freed memory may be handed out at once
    __real_free(memory);
}

void __wrap_sqlite3_free(void* memory) {
    doubles::Blocks::all().remove(memory);
    __real_sqlite3_free(memory);
}

int __wrap_sqlite3_exec(sqlite3* connection, const char* statement,
                        doubles::detail::RowCallback callback, void* user, char** message) {
    return doubles::detail::onExecute(connection, statement, callback, user, message);
}

// NOLINTNEXTLINE(cert-dcl50-cpp): as the C library has it
int __wrap_open(const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return doubles::detail::onOpen(path, flags, mode);
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
