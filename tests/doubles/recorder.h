// Shared by the doubles: one lock, the record, the failures, and how arguments are shown. Tests use
// platform_doubles.h instead.
#pragma once

#include "records.h"
#include "tests/doubles/fault.h"

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/types.h>

struct redisContext;
struct sqlite3;

namespace doubles::detail {

// Held by each double while it works; recursive, because the hook or a worker may run inside.
std::recursive_mutex& mutex();
using Lock = std::lock_guard<std::recursive_mutex>;

// Records one call.
void record(std::string_view function, const std::string& arguments);

// Records one call that can fail. Returns 0, or the code of the failure that it must return.
int enter(std::string_view function, const std::string& arguments);

// The same for a function that can fail in several ways.
Fault enterCall(std::string_view function, const std::string& arguments);

// Records that the last recorded call, which holds the lock, fails by itself. Returns the code.
int refused(int code = 1);

// Set by the shared library to see every recorded line.
void setListener(void (*listener)(const std::string& line));

std::string show(const char* text);
std::string show(const std::string& text);
std::string show(int number);
std::string show(unsigned int number);
std::string show(const redisContext* context);
std::string show(const FieldValuePair* fields, int count);
std::string show(const InstanceSlot* members, unsigned int count);

// A text shown as it is.
struct Plain {
    std::string text;
};
inline std::string show(const Plain& plain) {
    return plain.text;
}

// The arguments of one call, separated by ", ".
template <typename... Parts>
std::string arguments(const Parts&... parts) {
    std::string text;
    ((text += (text.empty() ? "" : ", ") + show(parts)), ...);
    return text;
}

// The real functions, however the names are intercepted.
using RowCallback = int (*)(void* user, int count, char** values, char** names);
int execute(sqlite3* connection, const char* statement, RowCallback callback, void* user,
            char** message);
void* allocate(std::size_t size);
void handOut(void* memory); // counts a block of another allocator
int openFile(const char* path, int flags, mode_t mode);
int removeFile(const char* path);

// What the intercepted functions do.
int onUsleep(unsigned int microseconds);
unsigned int onSleep(unsigned int seconds);
int onOpen(const char* path, int flags, mode_t mode);
int onUnlink(const char* path);
int onExecute(sqlite3* connection, const char* statement, RowCallback callback, void* user,
              char** message);

// The parts of reset().
void resetStore();
void resetHost();
void resetDatabase();
void resetDevices();
void resetLibc();

} // namespace doubles::detail
