// cooling-unit-sim as a child process, and an independent client's view of it.
#pragma once

#include "tests/support/child_process.h"
#include "tests/support/temporary_folder.h"

#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace test {

// Runs the program with these arguments; it must end by itself.
Finished runCoolingUnitSim(const std::vector<std::string>& words);

class CoolingUnitProcess {
public:
    // Listens when the constructor returns; the destructor stops it with SIGTERM.
    CoolingUnitProcess();
    ~CoolingUnitProcess();
    CoolingUnitProcess(const CoolingUnitProcess&) = delete;
    CoolingUnitProcess& operator=(const CoolingUnitProcess&) = delete;

    // Restarts it, on the same port and with the same state.
    void start();
    std::optional<int> terminate(int number = SIGTERM); // the exit status
    void signal(int number) const { process_->signal(number); }
    void kill(); // waits for the end

    std::string address() const { return "127.0.0.1:" + port_; } // the value for COOLING_UNIT
    const std::string& port() const { return port_; }
    std::string stateFile() const { return folder_.file("state/register"); }
    std::string stateFolder() const { return folder_.file("state"); }
    std::string controlSocket() const { return folder_.file("control"); }
    std::string output() const { return readFile(folder_.file("out")); }
    std::string errors() const { return readFile(folder_.file("err")); }

    // Runs `tell` with words separated by blanks.
    Finished tell(const std::string& words) const;

    // Reads with mbpoll, which counts registers from 1. Returns the value, or "failed: " and the
    // reason.
    std::string readRegister() const { return readRegister(101, 1); }
    std::string readRegister(int reference, int unitId) const;
    // Returns an empty text, or "failed: " and the reason.
    std::string writeRegister(int value) const;

private:
    std::size_t linesOfOutput() const;

    TemporaryFolder folder_;
    std::string port_ = "0";
    std::unique_ptr<ChildProcess> process_;
};

} // namespace test
