// Brightness levels in sysfs.
#include "platform/lcd_panel/backlight.h"

#include "descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace lcdpanel {

namespace {

// O_NONBLOCK: a pipe in place of a file must not block the caller.
constexpr int kOpenFlags = O_CLOEXEC | O_NONBLOCK;

Descriptor openFile(const std::filesystem::path& path, int flags) {
    return Descriptor(::open(path.c_str(), flags | kOpenFlags));
}

std::string problem(const std::filesystem::path& path, const std::string& text) {
    return path.string() + ": " + text;
}

std::string lastError() {
    return std::generic_category().message(errno);
}

// Parses a positive number that fits an int, with nothing but a newline behind it.
std::optional<int> positiveNumber(std::string_view text) {
    if (!text.empty() && text.back() == '\n') {
        text.remove_suffix(1);
    }
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number <= 0) {
        return std::nullopt;
    }
    return number;
}

} // namespace

int brightnessOf(int level, int maximum) {
    const std::int64_t product = std::int64_t{level} * maximum;
    const std::int64_t nearest = (product + kMaxLevel / 2) / kMaxLevel;
    return static_cast<int>(std::max<std::int64_t>(nearest, 1));
}

std::filesystem::path backlightFolder(const std::filesystem::path& classFolder) {
    const char* named = std::getenv("LCD_BACKLIGHT");
    if (named != nullptr && *named != '\0') {
        return named;
    }
    std::filesystem::path first;
    std::error_code error;
    std::filesystem::directory_iterator entry(classFolder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::error_code notThere;
        // The kernel's entries are links to directories.
        if (std::filesystem::is_directory(entry->path(), notThere) &&
            (first.empty() || entry->path() < first)) {
            first = entry->path();
        }
    }
    return first;
}

std::string setBrightness(const std::filesystem::path& folder, int level) {
    const std::filesystem::path maximumPath = folder / "max_brightness";
    const Descriptor maximumFile = openFile(maximumPath, O_RDONLY);
    if (!maximumFile.isOpen()) {
        return problem(maximumPath, lastError());
    }
    std::array<char, 64> text{};
    const ssize_t length = ::read(maximumFile.number(), text.data(), text.size());
    if (length < 0) {
        return problem(maximumPath, lastError());
    }
    const auto maximum = positiveNumber({text.data(), static_cast<std::size_t>(length)});
    if (!maximum) {
        return problem(maximumPath, "expected a number from 1 to 2147483647");
    }

    const std::filesystem::path path = folder / "brightness";
    const std::string value = std::to_string(brightnessOf(level, *maximum)) + '\n';
    const Descriptor file = openFile(path, O_WRONLY | O_TRUNC);
    if (!file.isOpen()) {
        return problem(path, lastError());
    }
    const ssize_t written = ::write(file.number(), value.data(), value.size());
    if (written != static_cast<ssize_t>(value.size())) {
        return problem(path, written < 0 ? lastError() : "accepted only part of the value");
    }
    return {};
}

} // namespace lcdpanel
