// A storm: the daemon under load, one fault of the store in the middle, and the accounts
// afterwards.
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
    killed,           // SIGKILL; comes back with all its data
    killedToAnOldOne, // SIGKILL; comes back with an older snapshot
    emptied,          // SIGKILL; comes back empty, then the service unit reacts
    paused,           // SIGSTOP for longer than the libraries wait
    outOfMemory,      // nothing more can be stored
    connectionLimit,  // the daemon's connections are closed, new ones refused
    slow,             // each command late, but in time
    tooSlow,          // each command later than the libraries wait
    // Devices, for the soak:
    unitSilent, // SIGSTOP for the cooling unit
    panelSilent // SIGSTOP for the X server
};

const char* nameOf(Fault fault);

// The seed: ORVANE_SEED, or a new one.
std::uint64_t chooseSeed();

// One fault and its outcome.
struct Storm {
    Fault fault{};
    Accounts accounts;
    // From the fault's end to the daemon's first answer, and to its first answer to a read. A read
    // that finds the instance out of date waits for the updates under way, and takes as long as
    // one.
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

    // Load, fault, recovery, accounts. Fails the test if the daemon does not survive it (for
    // `emptied`: does not exit with status 0) or if the accounts have violations. Afterwards
    // output() and errors() hold the daemon's output of this storm alone.
    Storm raise(Fault fault);

    // How long the calm before and after a fault lasts, and the fault beyond its minimum: at random
    // up to twice these times.
    void setLulls(std::chrono::milliseconds calm, std::chrono::milliseconds fault);

    std::size_t countInErrors(const std::string& text) const;
    std::size_t countInOutput(const std::string& text) const;

    // Puts a relay between daemon and store, for `slow` and `tooSlow`.
    void putRelayBetween();

    Random& random() { return random_; }
    Mix& mix() { return mix_; } // of the next load
    const Counters& counters() const { return counters_; }
    // Called when a fault begins.
    virtual void note(Fault /*fault*/) {}
    client::Address storeAddress() { return client::parseAddress(redis().address()); }

private:
    // Performs the fault from beginning to end. Returns the moment of its end.
    Clock::time_point strike(Fault fault);
    Clock::time_point killToAnOldOne();
    Clock::time_point expectTheTree(Clock::time_point end);
    Clock::time_point killAndEmpty();
    Clock::time_point exhaustMemory();
    Clock::time_point exhaustConnections();
    Clock::time_point silence(const test::ChildProcess& device);
    void waitUntilGivenUp() const; // until a command has taken longer than the libraries wait
    Clock::time_point quickenUp();
    Allowance allowanceOf(Fault fault) const;

    void forgetOutput() const;
    std::filesystem::path journal() const { return folder().file("journal"); }
    std::filesystem::path storeFolder();
    void rememberDaemonsConnections();
    void waitUntilAllWorkersServe();
    // The time until a request with that id for the WebGUI instance is answered with this message.
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
