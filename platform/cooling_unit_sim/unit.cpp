// The file is replaced as a whole: written under another name, synced, renamed.
#include "platform/cooling_unit_sim/unit.h"

#include "log_line.h"
#include "platform/cooling/register_map.h"
#include "platform/cooling_unit_sim/sockets.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace sim {

namespace {

constexpr std::string_view kStateKey = "temperature-scale ";

[[noreturn]] void failAt(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

std::string timeNow() {
    using std::chrono::milliseconds;
    using std::chrono::system_clock;
    const auto now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(now);
    const auto left =
        std::chrono::duration_cast<milliseconds>(now.time_since_epoch()) % std::chrono::seconds(1);
    std::tm local{};
    ::localtime_r(&seconds, &local);
    std::array<char, 32> day{};
    std::strftime(day.data(), day.size(), "%Y-%m-%d %H:%M:%S", &local);
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%s.%03d", day.data(), static_cast<int>(left.count()));
    return text.data();
}

void writeAndSync(const std::string& path, const std::string& text) {
    const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!file.isOpen() ||
        ::write(file.number(), text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
        ::fsync(file.number()) != 0) {
        failAt(path);
    }
}

void syncFolderOf(const std::string& path) {
    const std::filesystem::path folder = std::filesystem::absolute(path).parent_path();
    const Descriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened.isOpen() || ::fsync(opened.number()) != 0) {
        failAt(folder);
    }
}

} // namespace

std::string describeScale(std::uint16_t scale) {
    std::string number = std::to_string(scale);
    switch (scale) {
    case cooling::kImperial:
        return number + " (imperial)";
    case cooling::kMetric:
        return number + " (metric)";
    default:
        return number;
    }
}

Unit::Unit(std::string stateFile) : stateFile_(std::move(stateFile)), scale_(cooling::kMetric) {
    if (stateFile_.empty()) {
        return;
    }
    if (std::filesystem::exists(stateFile_)) {
        load();
    } else {
        store(scale_);
    }
}

void Unit::load() {
    std::ifstream file(stateFile_);
    std::string line;
    std::getline(file, line);
    if (file && line.starts_with(kStateKey)) {
        const char* end = line.data() + line.size();
        const auto [last, error] = std::from_chars(line.data() + kStateKey.size(), end, scale_);
        if (error == std::errc() && last == end) {
            return;
        }
    }
    throw std::runtime_error(stateFile_ +
                             ": not a state file of cooling-unit-sim; remove it or name another");
}

void Unit::setScale(std::uint16_t scale, const std::string& by) {
    if (scale == scale_) {
        return;
    }
    if (!stateFile_.empty()) {
        store(scale);
    }
    writeLine(timeNow(), " temperature scale ", describeScale(scale_), " -> ", describeScale(scale),
              ", by ", by);
    scale_ = scale;
}

void Unit::store(std::uint16_t scale) const {
    const std::string fresh = stateFile_ + ".new";
    writeAndSync(fresh, std::string(kStateKey) + std::to_string(scale) + '\n');
    if (::rename(fresh.c_str(), stateFile_.c_str()) != 0) {
        failAt(stateFile_);
    }
    syncFolderOf(stateFile_);
}

} // namespace sim
