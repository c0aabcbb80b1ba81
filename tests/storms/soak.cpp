// A long life under a mixed load with an occasional fault, for ORVANE_SOAK_SECONDS. Every two
// seconds it writes the memory, descriptors and threads of the daemon to the file named by
// ORVANE_SOAK_FILE; script/lib/soak_report.py judges them. script/soak runs both.
//
// Its lines: "sample" with seconds, resident KiB, dirty KiB, descriptors, threads, and the totals
// of requests, answers, fresh reads, status reads and events; "fault" with seconds and name;
// "total" with name and number.
#include "tests/storms/storm.h"

#include <array>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <mutex>
#include <sstream>
#include <thread>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using storms::Clock;
using storms::Fault;

constexpr milliseconds kCalm{6000};
constexpr milliseconds kDuration{400};
constexpr milliseconds kRest{20};
constexpr seconds kBetweenSamples{2};

std::string fromEnvironment(const char* name, const char* otherwise) {
    const char* const given = std::getenv(name);
    return given == nullptr ? otherwise : given;
}

// The sum of the lines with this beginning in a file of /proc with lines "NAME: NUMBER kB".
long long sumOf(const std::string& text, const std::string& beginning) {
    long long sum = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(beginning)) {
            sum += std::stoll(line.substr(line.find(':') + 1));
        }
    }
    return sum;
}

class Soak : public storms::Storms {
protected:
    Soak() : file_(fromEnvironment("ORVANE_SOAK_FILE", "/dev/null")) {
        setLulls(kCalm, kDuration);
        mix().rest = kRest;
        mix().statusAskers = 1;
        mix().watchers = 1;
    }
    ~Soak() override { endSampling(); }

    void beginSampling() {
        begin_ = Clock::now();
        sampler_ = std::thread([this] { sampleUntilTheEnd(); });
    }

    void endSampling() {
        {
            const std::lock_guard lock(mutex_);
            isOver_ = true;
        }
        over_.notify_all();
        if (sampler_.joinable()) {
            sampler_.join();
        }
    }

    void note(Fault fault) override { write("fault ", age(), ' ', nameOf(fault)); }

    template <typename... Parts>
    void write(const Parts&... parts) {
        const std::lock_guard lock(mutex_);
        (file_ << ... << parts) << std::endl; // whole lines, in case the run is cut short
    }

private:
    double age() const { return std::chrono::duration<double>(Clock::now() - begin_).count(); }

    void sampleUntilTheEnd() {
        const auto process = std::filesystem::path("/proc") / std::to_string(daemon().pid());
        for (bool goesOn = true; goesOn;) {
            sample(process);
            std::unique_lock lock(mutex_);
            goesOn = !over_.wait_for(lock, kBetweenSamples, [this] { return isOver_; });
        }
    }

    void sample(const std::filesystem::path& process) {
        const std::string memory = test::readFile(process / "smaps_rollup");
        const auto descriptors =
            std::distance(std::filesystem::directory_iterator(process / "fd"), {});
        const storms::Counters& done = counters();
        write("sample ", age(), ' ', sumOf(memory, "Rss:"), ' ', sumOf(memory, "Private_Dirty:"),
              ' ', descriptors, ' ', sumOf(test::readFile(process / "status"), "Threads:"), ' ',
              done.asked, ' ', done.answered, ' ', done.freshReads, ' ', done.statuses, ' ',
              done.events);
    }

    std::ofstream file_;
    std::mutex mutex_; // guards the file and isOver_
    std::condition_variable over_;
    bool isOver_ = false;
    Clock::time_point begin_;
    std::thread sampler_;
};

// Never restarts the daemon, so that its memory shows one long life.
TEST_F(Soak, KeepsItsMemoryAndItsDescriptors) {
    static constexpr std::array kFaults{Fault::killed, Fault::killedToAnOldOne, Fault::paused,
                                        Fault::unitSilent, Fault::panelSilent};
    const seconds time(std::stoi(fromEnvironment("ORVANE_SOAK_SECONDS", "60")));
    storms::Accounts accounts;
    beginSampling();
    const Clock::time_point end = Clock::now() + time;
    while (Clock::now() < end && daemon().isRunning()) {
        accounts += raise(kFaults.at(random()() % kFaults.size())).accounts;
    }
    endSampling();
    write("total requests ", accounts.requests);
    write("total answered ", accounts.answered);
    write("total nobody ", accounts.nobody);
    write("total cut-off ", accounts.cutOff);
    write("total refused ", accounts.refused);
    write("total lost ", accounts.lost);
    write("total dropped ", accounts.dropped);
    write("total given-up ", accounts.givenUp);
    write("total violations ", accounts.violations.size());
}

} // namespace
