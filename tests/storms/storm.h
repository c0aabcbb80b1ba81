// A storm: the daemon under load, one fault of the store in its midst, and the accounts afterwards.
// Which faults come in which order is left to the tests.
#pragma once

#include "tests/end_to_end/devices.h"
#include "tests/storms/accounts.h"
#include "tests/storms/load.h"
#include "tests/support/relay.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace storms {

enum class Fault {
    killed,           // SIGKILL, and back with all its data
    killedToAnOldOne, // SIGKILL, and back with a snapshot of before
    emptied,          // SIGKILL, and back empty; then what the service unit does
    paused,           // SIGSTOP for longer than the libraries wait
    outOfMemory,      // nothing more can be stored
    connectionLimit,  // the daemon's connections closed, and no new ones
    slow,             // each command late, but in time
    tooSlow,          // each command later than the libraries wait
    // Of the devices, for the soak:
    unitSilent, // SIGSTOP for the cooling unit
    panelSilent // SIGSTOP for the X server
};

const char* nameOf(Fault fault);

// The seed: ORVANE_SEED, or a new one.
std::uint64_t chooseSeed();

// One fault and what became of it.
struct Storm {
    Fault fault{};
    Accounts accounts;
    // From the fault's end to the first answer of the daemon, and to that of a read. A read that
    // finds the instance out of date waits for the updates under way, and pauses as one.
    std::chrono::milliseconds recovery{};
    std::chrono::milliseconds reading{};
    bool isDaemonGone = false;
};

using Clock = std::chrono::steady_clock;

// The daemon with the witness in front of it, a store that keeps its data, all devices.
class Storms : public test::EndToEndWithDevices {
protected:
    Storms();
    ~Storms() override;

    void SetUp() override;
    std::vector<std::string> daemonWrapper() const override;

    // Load, fault, recovery, accounts. Fails the test where the daemon does not live through it
    // (through `emptied`: does not end with status 0), or where the accounts have violations. The
    // daemon's output of this storm alone stands in output() and errors() afterwards.
    Storm raise(Fault fault);

    // How long the calm before and after a fault lasts, and the fault itself beyond what it takes
    // at least: at random up to twice these times.
    void setLulls(std::chrono::milliseconds calm, std::chrono::milliseconds fault);

    std::size_t countInErrors(const std::string& text) const;
    std::size_t countInOutput(const std::string& text) const;

    // For the faults `slow` and `tooSlow`: puts a relay between daemon and store.
    void putRelayBetween();

    Random& random() { return random_; }
    Mix& mix() { return mix_; } // of the next load
    const Counters& counters() const { return counters_; }
    // Called when a fault begins.
    virtual void note(Fault /*fault*/) {}
    client::Address storeAddress() { return client::parseAddress(redis().address()); }

private:
    // Does the fault from its beginning to its end, and gives the moment of its end.
    Clock::time_point strike(Fault fault);
    Clock::time_point killToAnOldOne();
    Clock::time_point expectTheTree(Clock::time_point end);
    Clock::time_point killAndEmpty();
    Clock::time_point exhaustMemory();
    Clock::time_point exhaustConnections();
    Clock::time_point silence(const test::ChildProcess& device);
    Clock::time_point slowDown(std::chrono::milliseconds delay, std::chrono::milliseconds time);
    Allowance allowanceOf(Fault fault) const;

    void forgetOutput() const;
    std::filesystem::path journal() const { return folder().file("journal"); }
    std::filesystem::path storeFolder();
    void rememberDaemonsConnections();
    void waitUntilAllWorkersServe();
    // Until a request with that id, for the WebGUI instance, is answered with this message.
    std::chrono::milliseconds timeToAnswer(const char* id, const char* message,
                                           Clock::time_point since);
    bool waitUntilSettled(const Load& load) const;
    long long countUnstoredAnswers() const;
    void rest(std::chrono::milliseconds time);

    std::uint64_t seed_;
    Random random_;
    Mix mix_;
    Counters counters_;
    std::unique_ptr<test::Relay> relay_;
    std::vector<std::string> daemonsConnections_;
    bool isFresh_ = false; // started since the last storm
    std::chrono::milliseconds calm_{100};
    std::chrono::milliseconds duration_{100};
};

} // namespace storms
