// What the doubles share among themselves: one lock, the record, the failures, and how
// arguments are shown. Tests use platform_doubles.h instead.
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

// Held by each double while it works; the hook or a worker may run inside.
std::recursive_mutex& mutex();
using Lock = std::lock_guard<std::recursive_mutex>;

// Records one call.
void record(std::string_view function, const std::string& arguments);

// Records one call that can fail. 0: it succeeds, otherwise the code of the failure.
int enter(std::string_view function, const std::string& arguments);

// As above, for a function that can fail in several ways.
Fault enterCall(std::string_view function, const std::string& arguments);

// Notes that the call recorded last, which holds the lock, fails by itself. Returns the code.
int refused(int code = 1);

// Sees every recorded line; set by the shared library.
void setListener(void (*listener)(const std::string& line));

std::string show(const char* text);
std::string show(const std::string& text);
std::string show(int number);
std::string show(unsigned int number);
std::string show(const redisContext* context);
std::string show(const FieldValuePair* fields, int count);
std::string show(const InstanceSlot* members, unsigned int count);

// A text that is shown as it stands.
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

// The real functions, whatever the program that uses the double makes of the names.
using RowCallback = int (*)(void* user, int count, char** values, char** names);
int execute(sqlite3* connection, const char* statement, RowCallback callback, void* user,
            char** message);
void* allocate(std::size_t size);
void handOut(void* memory); // counts what another allocator made
int openFile(const char* path, int flags, mode_t mode);
int removeFile(const char* path);

// What the taken-over functions do.
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
