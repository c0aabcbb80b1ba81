#include "tests/support/child_process.h"

#include "tests/support/temporary_folder.h"
#include "tests/support/wait_until.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

// The emulator and its options, separated by blanks; empty where programs run by themselves.
constexpr const char* kEmulator = ORVANE_EMULATOR;

std::vector<std::string> throughEmulator(const std::vector<std::string>& command) {
    std::vector<std::string> words;
    if (command.front().starts_with(ORVANE_BUILD_FOLDER "/")) {
        std::istringstream emulator(kEmulator);
        for (std::string word; emulator >> word;) {
            words.push_back(word);
        }
    }
    words.insert(words.end(), command.begin(), command.end());
    return words;
}

void redirect(const std::string& file, int descriptor) {
    if (file.empty()) {
        return;
    }
    const int target = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (target < 0 || ::dup2(target, descriptor) < 0) {
        ::_exit(126);
    }
}

[[noreturn]] void becomeChild(std::vector<char*>& arguments,
                              const std::map<std::string, std::string>& environment,
                              const std::string& outputFile, const std::string& errorFile) {
    redirect(outputFile, STDOUT_FILENO);
    redirect(errorFile, STDERR_FILENO);
    // Sockets that other threads of the test have open must not outlive them in the child.
    ::close_range(STDERR_FILENO + 1, ~0U, 0);
    for (const auto& [name, value] : environment) {
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    ::execvp(arguments.front(), arguments.data());
    ::_exit(127);
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command,
                           const std::map<std::string, std::string>& environment,
                           const std::string& outputFile, const std::string& errorFile) {
    std::vector<std::string> words = throughEmulator(command);
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_ = ::fork();
    if (pid_ < 0) {
        throw std::runtime_error("cannot fork for " + command.front());
    }
    if (pid_ == 0) {
        becomeChild(arguments, environment, outputFile, errorFile);
    }
}

ChildProcess::~ChildProcess() {
    if (isRunning()) {
        signal(SIGKILL);
        wait();
    }
}

void ChildProcess::signal(int number) const {
    if (!status_) {
        ::kill(pid_, number);
    }
}

bool ChildProcess::reap() {
    int status = 0;
    if (!status_ && ::waitpid(pid_, &status, WNOHANG) == pid_) {
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return status_.has_value();
}

bool ChildProcess::isRunning() {
    return !reap();
}

std::optional<int> ChildProcess::wait() {
    waitUntil([this] { return reap(); }, std::chrono::seconds(30));
    return status_;
}

Finished run(const std::vector<std::string>& command,
             const std::map<std::string, std::string>& environment) {
    const TemporaryFolder folder;
    Finished finished;
    ChildProcess child(command, environment, folder.file("out"), folder.file("err"));
    finished.status = child.wait().value_or(-1);
    finished.output = readFile(folder.file("out"));
    finished.error = readFile(folder.file("err"));
    return finished;
}

std::pair<std::string, std::string> preload(const std::string& libraries) {
    if (std::string(kEmulator).empty()) {
        return {"LD_PRELOAD", libraries};
    }
    return {"QEMU_SET_ENV", "LD_PRELOAD=" + libraries};
}

} // namespace test
