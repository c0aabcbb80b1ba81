// A child process of a test, ended at the latest with its owner.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace test {

class ChildProcess {
public:
    // Starts `command` (its first word is looked up in PATH; a program of this build runs
    // through the emulator where it is built for another machine) with these changes to the
    // environment and its output appended to `outputFile`; empty: inherited.
    ChildProcess(const std::vector<std::string>& command,
                 const std::map<std::string, std::string>& environment = {},
                 const std::string& outputFile = {}, const std::string& errorFile = {});
    ~ChildProcess(); // SIGKILL, when it still runs
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return pid_; }
    void signal(int number) const;
    bool isRunning();

    // Waits until it has ended. The exit status; 128 + number where a signal ended it;
    // nothing when it still runs after 30 s.
    std::optional<int> wait();

private:
    bool reap();

    pid_t pid_ = -1;
    std::optional<int> status_;
};

// Runs a command to its end and gives what it printed on both streams, and its status.
struct Finished {
    std::string output;
    std::string error;
    int status = -1;
};
Finished run(const std::vector<std::string>& command,
             const std::map<std::string, std::string>& environment = {});

// The change to the environment that loads libraries in front of those of a program of this
// build, and not into its emulator.
std::pair<std::string, std::string> preload(const std::string& libraries);

} // namespace test
