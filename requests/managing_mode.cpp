// The managing mode: environment first, then the file. Nothing is logged.
#include "requests/managing_mode.h"

#include "text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr char kVariable[] = "ManagingMode";
constexpr char kFile[] = "/var/database/CoolingUnitManagingMode.txt";
constexpr int kUnknownMode = 2;

struct FileClose {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

int keepInEnvironment(int mode) {
    char text[12] = {};
    std::snprintf(text, sizeof text, "%d", mode);
    ::setenv(kVariable, text, 1); // NOLINT(concurrency-mt-unsafe): before any other thread
    return mode;
}

} // namespace

int getManagingMode() {
    if (const char* value = std::getenv(kVariable); value != nullptr) {
        return std::min(parseDecimal(value), kUnknownMode);
    }
    const std::unique_ptr<std::FILE, FileClose> file(std::fopen(kFile, "r"));
    if (!file) {
        return kUnknownMode;
    }
    // Longer than both words, so that a longer word cannot pass for one of them.
    char word[16] = {};
    if (std::fscanf(file.get(), "%15s", word) != 1) {
        return kUnknownMode;
    }
    if (std::strcmp(word, "Tinvale") == 0) {
        return keepInEnvironment(0);
    }
    if (std::strcmp(word, "Varrow") == 0) {
        return keepInEnvironment(1);
    }
    return kUnknownMode;
}
