// Each fault undoes itself; none touches the daemon.
#include "tests/storms/storm.h"

#include "tests/storms/observer.h"
#include "tests/support/wait_until.h"

#include <csignal>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <thread>

namespace storms {

namespace {

using std::chrono::milliseconds;

// The libraries wait 2 s for a reply.
constexpr milliseconds kSilence{2200};
// Longer than the pauses of an update, so that some update finds its connection gone.
constexpr milliseconds kNoConnections{900};
constexpr milliseconds kLate{150};     // each way
constexpr milliseconds kTooLate{1200}; // each way
constexpr milliseconds kSlowTime{700};
// Requests that each of the three workers may give up while it is waited for that: every command
// takes 2 s, and the last one may begin just before the end.
constexpr int kGivenUpPerSilence = 3 * 3;
constexpr long long kAnswersBeforeTheFault = 20;
constexpr std::chrono::seconds kMaxWait{30};
// Nothing more arrives, as seen from outside.
constexpr milliseconds kQuiet{300};

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos;
         at = text.find(part, at + part.size())) {
        ++found;
    }
    return found;
}

milliseconds upToTwice(milliseconds time, Random& random) {
    return milliseconds(std::uniform_int_distribution<long long>(0, 2 * time.count())(random));
}

// The value of "NAME=VALUE" in one line of CLIENT LIST.
std::string valueOf(const std::string& line, const std::string& name) {
    std::istringstream words(line);
    for (std::string word; words >> word;) {
        if (word.starts_with(name + '=')) {
            return word.substr(name.size() + 1);
        }
    }
    return {};
}

} // namespace

const char* nameOf(Fault fault) {
    switch (fault) {
    case Fault::killed:
        return "killed, back with its data";
    case Fault::killedToAnOldOne:
        return "killed, back with a snapshot";
    case Fault::emptied:
        return "killed, back empty";
    case Fault::paused:
        return "paused beyond the time-out";
    case Fault::outOfMemory:
        return "out of memory";
    case Fault::connectionLimit:
        return "connection limit";
    case Fault::slow:
        return "slow";
    case Fault::tooSlow:
        return "slower than the time-out";
    case Fault::unitSilent:
        return "cooling unit silent";
    case Fault::panelSilent:
        return "X server silent";
    }
    return "";
}

std::uint64_t chooseSeed() {
    const char* const given = std::getenv("ORVANE_SEED");
    return given != nullptr ? std::stoull(given) : std::random_device{}();
}

Storms::Storms()
    : EndToEndWithDevices({"--appendonly", "yes"}), seed_(chooseSeed()), random_(seed_) {}

Storms::~Storms() = default;

void Storms::SetUp() {
    RecordProperty("seed", std::to_string(seed_));
    std::cout << "ORVANE_SEED=" << seed_ << '\n';
    environment()["WITNESS_JOURNAL"] = journal();
    // The witness is loaded before the sanitizer's own library.
    environment()["ASAN_OPTIONS"] = "verify_asan_link_order=0";
    EndToEndWithDevices::SetUp();
    isFresh_ = true;
}

std::vector<std::string> Storms::daemonWrapper() const {
    const auto [name, value] = test::preload(ORVANE_WITNESS);
    return {"env", name + '=' + value};
}

void Storms::putRelayBetween() {
    const std::string socket = folder().file("relay.sock");
    relay_ = std::make_unique<test::Relay>(socket, redis().socketPath());
    environment()["OSSEL_REDIS"] = "unix:" + socket;
}

// A worker that finds no store when it starts is gone for good: the first fault waits until all
// three are connected, besides main and the host.
void Storms::waitUntilAllWorkersServe() {
    isFresh_ = false;
    EXPECT_TRUE(test::waitUntil([this] {
        rememberDaemonsConnections();
        return daemonsConnections_.size() == 5;
    })) << redis().command({"CLIENT", "LIST"});
}

// Only valid while nobody but the test itself is connected.
void Storms::rememberDaemonsConnections() {
    const std::string own = redis().command({"CLIENT", "ID"});
    std::istringstream lines(redis().command({"CLIENT", "LIST"}));
    daemonsConnections_.clear();
    for (std::string line; std::getline(lines, line);) {
        if (const std::string id = valueOf(line, "id"); !id.empty() && id != own) {
            daemonsConnections_.push_back(id);
        }
    }
}

Storm Storms::raise(Fault fault) {
    Storm storm{.fault = fault, .accounts = {}};
    forgetOutput();
    rememberDaemonsConnections();
    if (isFresh_) {
        waitUntilAllWorkersServe();
    }
    const pid_t before = daemon().pid();
    Observer observer(storeAddress());
    const long long enough = counters_.answered + kAnswersBeforeTheFault;
    Load load(storeAddress(), mix_, random_(), counters_);
    EXPECT_TRUE(test::waitUntil([&] { return counters_.answered >= enough; }))
        << "no load\n"
        << output() << errors();
    rest(calm_);
    note(fault);
    const Clock::time_point end = strike(fault);
    storm.recovery =
        timeToAnswer("99999", "ActionNotSupported", end); // answered by the hook itself
    storm.reading = timeToAnswer("00001", "Success", end);
    rest(calm_);
    load.wane();
    const bool isSettled = waitUntilSettled(load);
    load.finish();
    storm.accounts =
        settle(load.take(), readJournal(journal()), observer.answers(), allowanceOf(fault));
    if (!isSettled) {
        storm.accounts.violations.emplace_back("requests reached the daemon and were forgotten");
    }
    storm.isDaemonGone = !daemon().isRunning();
    EXPECT_FALSE(storm.isDaemonGone) << nameOf(fault);
    EXPECT_TRUE(fault == Fault::emptied || daemon().pid() == before);
    for (const std::string& violation : storm.accounts.violations) {
        ADD_FAILURE() << nameOf(fault) << ": " << violation << "\n" << output() << errors();
    }
    return storm;
}

void Storms::setLulls(milliseconds calm, milliseconds fault) {
    calm_ = calm;
    duration_ = fault;
}

void Storms::rest(milliseconds time) {
    std::this_thread::sleep_for(upToTwice(time, random_));
}

Clock::time_point Storms::strike(Fault fault) {
    switch (fault) {
    case Fault::killed:
        redis().kill();
        rest(duration_);
        redis().start();
        return expectTheTree(Clock::now());
    case Fault::killedToAnOldOne:
        return killToAnOldOne();
    case Fault::emptied:
        return killAndEmpty();
    case Fault::paused:
        redis().pause();
        waitUntilGivenUp();
        rest(duration_);
        redis().resume();
        return Clock::now();
    case Fault::outOfMemory:
        return exhaustMemory();
    case Fault::connectionLimit:
        return exhaustConnections();
    case Fault::slow:
        relay_->setDelay(kLate);
        std::this_thread::sleep_for(kSlowTime);
        return quickenUp();
    case Fault::tooSlow:
        relay_->setDelay(kTooLate);
        waitUntilGivenUp();
        return quickenUp();
    case Fault::unitSilent:
        return silence(coolingUnit());
    case Fault::panelSilent:
        return silence(xServer());
    }
    return Clock::now();
}

// Without its log of changes the store reads the snapshot; then it keeps a log again.
Clock::time_point Storms::killToAnOldOne() {
    EXPECT_EQ(redis().command({"SAVE"}), "OK");
    rest(duration_);
    redis().kill();
    std::filesystem::remove_all(storeFolder() / "appendonlydir");
    redis().start({"--appendonly", "no"});
    const Clock::time_point end = Clock::now();
    EXPECT_EQ(redis().command({"CONFIG", "SET", "appendonly", "yes"}), "OK");
    EXPECT_TRUE(test::waitUntil([this] {
        const std::string state = redis().command({"INFO", "persistence"});
        return state.find("aof_enabled:1") != std::string::npos &&
               state.find("aof_rewrite_in_progress:0") != std::string::npos &&
               state.find("aof_rewrite_scheduled:0") != std::string::npos;
    }));
    return expectTheTree(end);
}

// A store without its data is another fault. Passes the moment on.
Clock::time_point Storms::expectTheTree(Clock::time_point end) {
    EXPECT_EQ(field(test::kWebGui, "Actions"), test::kActions);
    EXPECT_NE(schemaTypeId(), "(nil)");
    return end;
}

// The service unit stops the daemon with the store and starts it with the next one; the daemon may
// or may not notice the empty store before it is told to stop.
Clock::time_point Storms::killAndEmpty() {
    const bool endsFirst = random_() % 2 == 0;
    redis().kill();
    rest(duration_);
    std::filesystem::remove_all(storeFolder() / "appendonlydir");
    std::filesystem::remove(storeFolder() / "dump.rdb");
    if (endsFirst) {
        EXPECT_EQ(stopDaemon(), 0) << errors();
    }
    redis().start();
    if (!endsFirst) {
        rest(duration_);
        EXPECT_EQ(stopDaemon(), 0) << errors();
    }
    EXPECT_EQ(orvanectl({"provision"}).status, 0);
    const Clock::time_point launched = Clock::now();
    startDaemon();
    isFresh_ = true;
    return launched;
}

// Soon every requester waits for an answer that cannot be stored; whoever then sends a request
// object gets an error from the store.
Clock::time_point Storms::exhaustMemory() {
    EXPECT_EQ(redis().command({"CONFIG", "SET", "maxmemory", "1"}), "OK");
    rest(duration_);
    const client::Stop never;
    const Question update{"00002", "Request:too-much", {{"Language", "Deutsch"}}};
    EXPECT_EQ(Asker(storeAddress(), &never).ask(update, Clock::now()).outcome, Outcome::refused);
    rest(duration_);
    EXPECT_EQ(redis().command({"CONFIG", "SET", "maxmemory", "0"}), "OK");
    return Clock::now();
}

Clock::time_point Storms::exhaustConnections() {
    EXPECT_EQ(redis().command({"CONFIG", "SET", "maxclients", "1"}), "OK");
    for (const std::string& id : daemonsConnections_) {
        redis().command({"CLIENT", "KILL", "ID", id});
    }
    std::this_thread::sleep_for(kNoConnections);
    rest(duration_);
    EXPECT_EQ(redis().command({"CONFIG", "SET", "maxclients", "1000"}), "OK");
    return Clock::now();
}

Clock::time_point Storms::silence(const test::ChildProcess& device) {
    device.signal(SIGSTOP);
    std::this_thread::sleep_for(kSilence);
    rest(duration_);
    device.signal(SIGCONT);
    return Clock::now();
}

// The daemon logs that, unless it did a moment ago.
void Storms::waitUntilGivenUp() const {
    test::waitUntil([this] { return countInErrors("no answer within 2 s") > 0; }, 2 * kSilence);
}

Clock::time_point Storms::quickenUp() {
    rest(duration_);
    relay_->setDelay(milliseconds(0));
    return Clock::now();
}

Allowance Storms::allowanceOf(Fault fault) const {
    switch (fault) {
    case Fault::killed:
    case Fault::killedToAnOldOne:
    case Fault::emptied:
        // There is one kill, and each requester has one request in flight.
        return {.lost = mix_.requesters(), .storeDied = true};
    case Fault::paused:
    case Fault::tooSlow:
        return {.givenUp = kGivenUpPerSilence};
    case Fault::outOfMemory:
        // Each is logged in one line, which waitUntilSettled() counts.
        return {.givenUp = std::numeric_limits<int>::max()};
    case Fault::connectionLimit:
        return {.dropped = mix_.requesters(), .givenUp = mix_.requesters()};
    case Fault::slow:
    case Fault::unitSilent:
    case Fault::panelSilent:
        break;
    }
    return {};
}

void Storms::forgetOutput() const {
    for (const char* file : {"journal", "daemon.out", "daemon.err"}) {
        test::writeFile(folder().file(file), "");
    }
}

std::filesystem::path Storms::storeFolder() {
    return std::filesystem::path(redis().socketPath()).parent_path();
}

milliseconds Storms::timeToAnswer(const char* id, const char* message, Clock::time_point since) {
    const client::Stop never;
    Asker asker(storeAddress(), &never);
    const Question question{id, test::kWebGui, {}};
    const bool isBack = test::waitUntil(
        [&] {
            return asker.ask(question, Clock::now() + std::chrono::seconds(5)).messageId == message;
        },
        kMaxWait);
    EXPECT_TRUE(isBack) << output() << errors();
    return std::chrono::ceil<milliseconds>(Clock::now() - since);
}

// Every request that reached the daemon is answered, or logged as one whose answer could not be
// stored. Whoever still waits then waits in vain.
bool Storms::waitUntilSettled(const Load& load) const {
    Clock::time_point quietSince = Clock::now();
    return test::waitUntil(
        [&] {
            std::this_thread::sleep_for(milliseconds(10));
            const bool isSettled = countOpen(readJournal(journal())) <= countUnstoredAnswers();
            if (!isSettled) {
                quietSince = Clock::now();
            }
            return isSettled && (load.pending() == 0 || Clock::now() - quietSince > kQuiet);
        },
        kMaxWait);
}

long long Storms::countUnstoredAnswers() const {
    return static_cast<long long>(
        countInOutput("[sendReturnMsg]: Failed to call osselCreateReturnMessage("));
}

std::size_t Storms::countInErrors(const std::string& text) const {
    return count(errors(), text);
}

std::size_t Storms::countInOutput(const std::string& text) const {
    return count(output(), text);
}

} // namespace storms
