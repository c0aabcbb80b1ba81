// The managing mode, from the environment or else the file.
#include "requests/managing_mode.h"

#include "agent/handler_tables.h"
#include "text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ext/stdio_filebuf.h>
#include <fcntl.h>
#include <iomanip>
#include <istream>
#include <string>

namespace {

constexpr char kVariable[] = "ManagingMode";
constexpr char kFile[] = "/var/database/CoolingUnitManagingMode.txt";

// Longer than both words, so that no longer word is taken for one of them.
constexpr int kMaxWordLength = 16;

// The first word, NULs and all; empty if there is none or the file cannot be read. O_NONBLOCK: a
// FIFO in the file's place must not hang start-up.
std::string firstWordOfFile() {
    __gnu_cxx::stdio_filebuf<char> file(::open(kFile, O_RDONLY | O_NONBLOCK | O_CLOEXEC),
                                        std::ios::in);
    std::string word;
    std::istream(&file) >> std::setw(kMaxWordLength) >> word;
    return word;
}

int keepInEnvironment(int mode) {
    char text[12] = {};
    std::snprintf(text, sizeof text, "%d", mode);
    ::setenv(kVariable, text, 1); // NOLINT(concurrency-mt-unsafe): no other thread exists yet
    return mode;
}

} // namespace

int getManagingMode() {
    if (const char* value = std::getenv(kVariable); value != nullptr) {
        return std::min(parseDecimal(value), kUnknownManagingMode);
    }
    const std::string word = firstWordOfFile();
    if (word == "Tinvale") {
        return keepInEnvironment(0);
    }
    if (word == "Varrow") {
        return keepInEnvironment(1);
    }
    return kUnknownManagingMode;
}
