// The double in front of the real daemon (LD_PRELOAD): intercepts C library functions, logs calls
// to the file DOUBLE_LOG, and runs the script in the file DOUBLE_SCRIPT.
//
// Script lines; blank lines and lines that begin with '#' are ignored:
//   fail FUNCTION NTH|always [CODE]   the nth call fails; code 1 by default
//   fail-any NTH [CODE]               the nth call of any function that can fail
//   provision                         the schema definitions of the WebGUI resource
//   schema FIELD TEXT = ID            one entry of the schema registry
//   hash KEY FIELD=VALUE              one field of a hash
//   list KEY MEMBER, set KEY MEMBER   one member
//   row COLUMN=VALUE                  one value of the settings row
//   sql STATEMENT                     run on the settings database when it is opened
//   open-result NUMBER                result of open_database
//   managing-mode-file TEXT           contents of the managing-mode file
//   open-fail NUMBER                  number of opens of the run marker that fail
//   marker-file PATH                  opened instead of the run marker
//   request MSGID REQARG CHANNEL      passed to the hook inside ovrThreadWaitForExit; then the
//                                     workers run until their queues are empty
//   threads-at-registration           each worker runs on its own thread from its registration on
//   early-request MSGID REQARG CHANNEL  the same inside ovrHookFnRedisRegister, for such workers
#include "tests/doubles/platform_doubles.h"
#include "tests/doubles/recorder.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <sqlite3.h>
#include <sstream>
#include <unistd.h>

namespace doubles {

namespace {

constexpr int kBadScript = 99;

template <typename Function>
Function* theReal(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

int g_log = -1;

void writeToLog(const std::string& line) {
    std::string text = line;
    std::replace(text.begin(), text.end(), '\n', ' ');
    text += '\n';
    if (::write(g_log, text.data(), text.size()) < 0) {
        ::_exit(kBadScript);
    }
}

struct Requests {
    std::vector<RequestTriple> early;
    std::vector<RequestTriple> later;
};
Requests& requests() {
    static auto* const requests = new Requests;
    return *requests;
}

void serveOneByOne(const std::vector<RequestTriple>& list) {
    for (const auto& [msgId, reqArg, replyChannel] : list) {
        callHook(msgId, reqArg, replyChannel);
        waitUntilWorkersAreIdle();
    }
}

void serveEarly() {
    serveOneByOne(requests().early);
}

void serve() {
    if (host().startsThreadsAtRegistration) {
        serveOneByOne(requests().later);
        return;
    }
    for (const auto& [msgId, reqArg, replyChannel] : requests().later) {
        callHook(msgId, reqArg, replyChannel);
    }
    runWorkers();
}

std::string rest(std::istringstream& words) {
    std::string text;
    std::getline(words >> std::ws, text);
    return text;
}

// Splits at the first separator.
std::pair<std::string, std::string> split(const std::string& text, const std::string& separator) {
    const std::size_t at = text.find(separator);
    return at == std::string::npos
               ? std::pair{text, std::string()}
               : std::pair{text.substr(0, at), text.substr(at + separator.size())};
}

void readFailure(std::istringstream& words, const std::string& function) {
    std::string which;
    int code = 1;
    words >> which;
    if (!(words >> code)) {
        code = 1;
    }
    if (which == "always") {
        failAlways(function, code);
    } else if (function.empty()) {
        failAnyNth(std::stoi(which), code);
    } else {
        failNth(function, std::stoi(which), code);
    }
}

bool readDatum(const std::string& command, std::istringstream& words) {
    std::string key;
    if (command == "provision") {
        provision();
    } else if (command == "schema") {
        words >> key;
        const auto [text, id] = split(rest(words), " = ");
        schema(key, text, id);
    } else if (command == "hash") {
        words >> key;
        hashes()[key].push_back(split(rest(words), "="));
    } else if (command == "list") {
        words >> key;
        lists()[key].push_back(rest(words));
    } else if (command == "set") {
        words >> key;
        sets()[key].push_back(rest(words));
    } else {
        return false;
    }
    return true;
}

bool readDatabase(const std::string& command, std::istringstream& words) {
    if (command == "row") {
        const auto [column, value] = split(rest(words), "=");
        setSetting(column, value);
    } else if (command == "sql") {
        database().statements.push_back(rest(words));
    } else if (command == "open-result") {
        words >> database().openResult;
    } else {
        return false;
    }
    return true;
}

void readRequest(std::istringstream& words, std::vector<RequestTriple>& list) {
    auto& [msgId, reqArg, replyChannel] = list.emplace_back();
    words >> msgId >> reqArg >> replyChannel;
}

bool readLine(const std::string& line) {
    std::istringstream words(line);
    std::string command;
    words >> command;
    if (command.empty() || command.front() == '#') {
        return true;
    }
    if (readDatum(command, words) || readDatabase(command, words)) {
        return true;
    }
    std::string function;
    if (command == "fail") {
        words >> function;
        readFailure(words, function);
    } else if (command == "fail-any") {
        readFailure(words, {});
    } else if (command == "managing-mode-file") {
        files().managingMode = rest(words) + '\n';
    } else if (command == "open-fail") {
        words >> files().markerFailures;
    } else if (command == "marker-file") {
        files().markerPath = rest(words);
    } else if (command == "request") {
        readRequest(words, requests().later);
    } else if (command == "early-request") {
        readRequest(words, requests().early);
    } else if (command == "threads-at-registration") {
        host().startsThreadsAtRegistration = true;
    } else {
        return false;
    }
    return true;
}

// Runs before the constructors of the daemon's objects.
__attribute__((constructor)) void begin() {
    host().duringRegistration = serveEarly;
    host().duringWaitForExit = serve;
    if (const char* const log = std::getenv("DOUBLE_LOG")) {
        g_log = ::open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        detail::setListener(writeToLog);
    }
    const char* const script = std::getenv("DOUBLE_SCRIPT");
    if (script == nullptr) {
        return;
    }
    std::ifstream lines(script);
    if (!lines) {
        ::_exit(kBadScript);
    }
    for (std::string line; std::getline(lines, line);) {
        if (!readLine(line)) {
            std::cerr << "platform double: unknown script line: " << line << std::endl;
            ::_exit(kBadScript);
        }
    }
}

} // namespace

void failAllocation(int /*nth*/) {}

int allocations() {
    return 0;
}

bool allocationFailed() {
    return false;
}

void recordAllocations(bool /*recorded*/) {}

int liveBlocks() {
    return 0;
}

namespace detail {

void* allocate(std::size_t size) {
    return std::malloc(size);
}

int execute(sqlite3* connection, const char* statement, RowCallback callback, void* user,
            char** message) {
    return sqlite3_exec(connection, statement, callback, user, message);
}

void handOut(void* /*memory*/) {}

int openFile(const char* path, int flags, mode_t mode) {
    return theReal<int(const char*, int, ...)>("open")(path, flags, mode);
}

int removeFile(const char* path) {
    return theReal<int(const char*)>("unlink")(path);
}

} // namespace detail
} // namespace doubles

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library names its
// parameters with reserved words
extern "C" {

// Under a name of its own: <fcntl.h> may define `open` inline.
int openInFront(const char* path, int flags, ...) __asm__("open");

// NOLINTNEXTLINE(cert-dcl50-cpp): as the C library has it
int openInFront(const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return doubles::detail::onOpen(path, flags, mode);
}

int unlink(const char* path) noexcept {
    return doubles::detail::onUnlink(path);
}

int usleep(unsigned int microseconds) {
    return doubles::detail::onUsleep(microseconds);
}

unsigned int sleep(unsigned int seconds) {
    return doubles::detail::onSleep(seconds);
}

} // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
