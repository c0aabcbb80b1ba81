#include "tests/support/stack.h"

#include "tests/support/temporary_folder.h"
#include "tests/support/wait_until.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace test {

namespace {

// For each condition. A start under valgrind on a busy machine takes more than the usual 20 s; what
// has ended is not waited for.
constexpr std::chrono::seconds kMaxStart{60};

struct Line {
    std::string name;
    std::string kind;
    std::string rest;
};

std::vector<Line> readDescription() {
    std::vector<Line> lines;
    std::istringstream text(readFile(ORVANE_STACK));
    for (std::string line; std::getline(text, line);) {
        std::istringstream words(line);
        Line found;
        if (words >> found.name >> found.kind && !found.name.starts_with('#')) {
            std::getline(words >> std::ws, found.rest);
            lines.push_back(std::move(found));
        }
    }
    return lines;
}

const std::vector<Line>& description() {
    static const std::vector<Line> lines = readDescription();
    return lines;
}

// The kernel shows the signals that a thread has blocked as hexadecimal digits.
bool blocks(pid_t process, int signal) {
    const std::string status = readFile("/proc/" + std::to_string(process) + "/status");
    const std::string name = "SigBlk:\t";
    const std::size_t at = status.find(name);
    return at != std::string::npos &&
           ((std::stoull(status.substr(at + name.size(), 16), nullptr, 16) >> (signal - 1)) & 1U) !=
               0;
}

std::pair<std::string, std::string> halves(const std::string& assignment) {
    const std::size_t at = assignment.find('=');
    return {assignment.substr(0, at), assignment.substr(at + 1)};
}

} // namespace

StackPart::StackPart(const std::string& name, StackValues values)
    : name_(name), values_(std::move(values)) {
    values_["built"] = {ORVANE_BUILD_FOLDER};
    values_["script"] = {ORVANE_SCRIPT_FOLDER};
    values_.try_emplace("wrapper");
    if (described("gives").empty() && described("command").empty()) {
        throw std::runtime_error(ORVANE_STACK " has no process called " + name);
    }
}

std::vector<std::string> StackPart::described(const std::string& kind) const {
    std::vector<std::string> found;
    for (const Line& line : description()) {
        if (line.name == name_ && line.kind == kind) {
            found.push_back(line.rest);
        }
    }
    return found;
}

std::string StackPart::text(const std::string& pattern) const {
    static const std::regex name("\\{([a-z]+)\\}");
    std::string result = pattern;
    for (std::smatch match; std::regex_search(result, match, name);) {
        result = match.prefix().str() + values_.at(match[1]).at(0) + match.suffix().str();
    }
    return result;
}

std::vector<std::string> StackPart::words(const std::string& pattern) const {
    std::vector<std::string> result;
    std::istringstream stream(pattern);
    for (std::string word; stream >> word;) {
        const bool isValue = word.starts_with('{') && word.find('}') == word.size() - 1;
        if (isValue) {
            const std::vector<std::string>& value = values_.at(word.substr(1, word.size() - 2));
            result.insert(result.end(), value.begin(), value.end());
        } else {
            result.push_back(word == "''" ? "" : text(word));
        }
    }
    return result;
}

void StackPart::prepare() const {
    for (const std::string& path : described("remove")) {
        std::filesystem::remove_all(text(path));
    }
    for (const std::string& path : described("folder")) {
        std::filesystem::create_directories(text(path));
    }
}

std::unique_ptr<ChildProcess>
StackPart::launch(const std::vector<std::string>& more,
                  const std::map<std::string, std::string>& environment,
                  const std::string& outputFile, const std::string& errorFile) {
    outputFile_ = outputFile;
    outputBefore_ = readFile(outputFile).size();
    std::vector<std::string> command = words(described("command").at(0));
    command.insert(command.end(), more.begin(), more.end());
    return std::make_unique<ChildProcess>(command, environment, outputFile, errorFile);
}

// A line counts once it has its end.
bool StackPart::isInLog(const std::string& regex) {
    const std::regex pattern(regex, std::regex::extended);
    const std::string output = readFile(outputFile_);
    std::istringstream lines(output.substr(std::min(outputBefore_, output.size())));
    for (std::string line; std::getline(lines, line) && !lines.eof();) {
        std::smatch match;
        if (std::regex_search(line, match, pattern)) {
            values_["address"] = {match.size() > 1 ? match[1].str() : ""};
            return true;
        }
    }
    return false;
}

bool StackPart::holds(const std::string& condition, pid_t process) {
    const std::size_t blank = condition.find(' ');
    const std::string kind = condition.substr(0, blank);
    const std::string what = condition.substr(blank + 1);
    if (kind == "log") {
        return isInLog(what);
    }
    if (kind == "file") {
        return std::filesystem::exists(text(what));
    }
    if (kind == "blocks") {
        return blocks(process, std::stoi(what));
    }
    throw std::runtime_error(ORVANE_STACK ": no condition is called " + kind);
}

bool StackPart::waitUntilUp(ChildProcess& process) {
    for (const std::string& condition : described("ready")) {
        waitUntil([&] { return holds(condition, process.pid()) || !process.isRunning(); },
                  kMaxStart);
        if (!holds(condition, process.pid()) || !process.isRunning()) {
            return false;
        }
    }
    return true;
}

std::map<std::string, std::string> StackPart::environment() const {
    std::map<std::string, std::string> result;
    for (const std::string& assignment : described("gives")) {
        result.insert(halves(text(assignment)));
    }
    return result;
}

std::map<std::string, std::string> absentDevices(const StackValues& values) {
    return StackPart("absent", values).environment();
}

} // namespace test
