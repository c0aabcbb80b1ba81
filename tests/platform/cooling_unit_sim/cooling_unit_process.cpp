#include "tests/platform/cooling_unit_sim/cooling_unit_process.h"

#include "tests/support/wait_until.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace test {

namespace {

std::vector<std::string> split(const std::string& words) {
    std::istringstream text(words);
    std::vector<std::string> list;
    for (std::string word; text >> word;) {
        list.push_back(word);
    }
    return list;
}

std::vector<std::string> mbpoll(const std::string& port, int unitId, int reference) {
    return {"mbpoll",
            "-m",
            "tcp",
            "-p",
            port,
            "-a",
            std::to_string(unitId),
            "-t",
            "4",
            "-r",
            std::to_string(reference),
            "-o",
            "1",
            "-1",
            "127.0.0.1"};
}

std::string reasonOf(const Finished& finished) {
    const std::string all = finished.error + finished.output;
    const std::size_t found = all.find("failed: ");
    return found == std::string::npos ? all : all.substr(found, all.find('\n', found) - found);
}

} // namespace

Finished runCoolingUnitSim(const std::vector<std::string>& words) {
    std::vector<std::string> command{COOLING_UNIT_SIM};
    command.insert(command.end(), words.begin(), words.end());
    return run(command);
}

CoolingUnitProcess::CoolingUnitProcess() {
    std::filesystem::create_directory(stateFolder());
    start();
}

CoolingUnitProcess::~CoolingUnitProcess() {
    process_->signal(SIGCONT);
    terminate();
}

void CoolingUnitProcess::start() {
    const std::size_t before = linesOfOutput();
    process_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{COOLING_UNIT_SIM, "--listen", address(), "--state", stateFile(),
                                 "--control", controlSocket()},
        std::map<std::string, std::string>{}, folder_.file("out"), folder_.file("err"));
    waitUntil([&] { return linesOfOutput() > before || !process_->isRunning(); });
    const std::string all = output();
    std::smatch found;
    if (!process_->isRunning() ||
        !std::regex_search(all, found, std::regex("listens on 127.0.0.1:(\\d+)"))) {
        throw std::runtime_error("no cooling-unit-sim: " + errors());
    }
    port_ = found[1];
}

std::optional<int> CoolingUnitProcess::terminate(int number) {
    process_->signal(number);
    return process_->wait();
}

void CoolingUnitProcess::kill() {
    process_->signal(SIGKILL);
    process_->wait();
}

std::size_t CoolingUnitProcess::linesOfOutput() const {
    const std::string all = output();
    return static_cast<std::size_t>(std::count(all.begin(), all.end(), '\n'));
}

Finished CoolingUnitProcess::tell(const std::string& words) const {
    std::vector<std::string> command{"tell", controlSocket()};
    for (const std::string& word : split(words)) {
        command.push_back(word);
    }
    return runCoolingUnitSim(command);
}

std::string CoolingUnitProcess::readRegister(int reference, int unitId) const {
    const Finished finished = run(mbpoll(port_, unitId, reference));
    std::smatch found;
    if (std::regex_search(finished.output, found, std::regex("\\[\\d+\\]:\\s+(\\d+)"))) {
        return found[1];
    }
    return reasonOf(finished);
}

std::string CoolingUnitProcess::writeRegister(int value) const {
    std::vector<std::string> command = mbpoll(port_, 1, 101);
    std::erase(command, "-1");
    command.push_back(std::to_string(value));
    const Finished finished = run(command);
    return finished.output.find("Written 1 references") == std::string::npos ? reasonOf(finished)
                                                                             : "";
}

} // namespace test
