// The processes of a running system as script/lib/stack.conf describes them, for every test that
// starts one of them.
#pragma once

#include "tests/support/child_process.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace test {

// The words that stand for a name in braces. {built} and {script} are this build's; {wrapper} is
// empty unless given.
using StackValues = std::map<std::string, std::vector<std::string>>;

// One process of the description. It keeps no process: whoever starts one owns it.
class StackPart {
public:
    // Throws std::runtime_error for a name that the description does not have.
    StackPart(const std::string& name, StackValues values);

    // Creates and deletes what must be there, or not, before a start.
    void prepare() const;

    // Starts the process: the described command and `more` words behind it. Its output is appended
    // to the file, its errors to the other.
    std::unique_ptr<ChildProcess> launch(const std::vector<std::string>& more,
                                         const std::map<std::string, std::string>& environment,
                                         const std::string& outputFile,
                                         const std::string& errorFile);

    // Waits until the process of the last launch is up. False when it ended before, or was not up
    // in time.
    bool waitUntilUp(ChildProcess& process);

    // Of the process that is up: what the group of its log condition matched.
    const std::string& address() const { return values_.at("address").front(); }

    // What the process gives the environment of its users, once it is up.
    std::map<std::string, std::string> environment() const;

private:
    std::vector<std::string> described(const std::string& kind) const;
    std::vector<std::string> words(const std::string& pattern) const;
    std::string text(const std::string& pattern) const;
    bool holds(const std::string& condition, pid_t process);
    bool isInLog(const std::string& regex);

    std::string name_;
    StackValues values_;
    std::string outputFile_;
    std::size_t outputBefore_ = 0; // characters of earlier starts
};

// Addresses under which no device answers; for a daemon without devices.
std::map<std::string, std::string> absentDevices(const StackValues& values);

} // namespace test
