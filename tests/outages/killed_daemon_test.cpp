// The daemon is killed at random moments while a client changes settings, over and over. After each
// restart the settings database is whole and holds the last acknowledged change or the one under
// way, never an older one and never a mix, and the tree in the store agrees.
//
//   ORVANE_KILL_ROUNDS  lives of one daemon (default 6)
//   ORVANE_KILL_SEED    seed of the moments and the changes (default 1)
#include "client/discovery.h"
#include "client/errors.h"
#include "client/webgui.h"
#include "tests/end_to_end/end_to_end.h"
#include "tests/support/wait_until.h"
#include "text.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <gmock/gmock.h>
#include <random>
#include <sstream>
#include <thread>

namespace {

using std::chrono::microseconds;
using test::kWebGui;

// Settings by name, as the database holds them.
using Values = std::map<std::string, std::string>;

struct Column {
    const char* setting;
    const char* column;
};
constexpr Column kColumns[] = {{"Language", "Language"},
                               {"InitialBoot", "InitBoot"},
                               {"ScreenBrightness", "Brightness"},
                               {"BacklightOff", "BacklightOff"},
                               {"ActiveAlarmScreensaver", "Screensaver"},
                               {"InactivityTimer", "Timer"},
                               {"MeasurementSystem", "Measurement"},
                               {"DateFormat", "DateFormat"},
                               {"TimeFormat", "TimeFormat"},
                               {"RoomAverage", "RoomAverage"},
                               {"HiLoPeriod", "HiLoPeriod"}};

int number(const char* variable, int otherwise) {
    const char* text = std::getenv(variable);
    return text == nullptr ? otherwise : parseDecimal(text);
}

Values changed(Values values, const client::SettingValues& changes) {
    for (const auto& [name, value] : changes) {
        values[name] = value;
    }
    return values;
}

// Without the theme, which is a row of its own, written before the others.
Values settingsRow(Values values) {
    values.erase("Theme");
    return values;
}

// Sees every answer on every reply channel.
class AnswerCounter {
public:
    explicit AnswerCounter(const client::Address& address) : wire_(address, kLimit) {
        wire_.send({"PSUBSCRIBE", "Reply:*"}, deadline());
        wire_.receive(deadline(), nullptr);
    }

    // The highest number of answers to one request since the last call.
    int most() {
        std::map<std::string, int> answers;
        wire_.send({"PING"}, deadline());
        for (;;) {
            const std::optional<client::Reply> reply = wire_.receive(deadline(), nullptr);
            if (!reply || reply->elements.size() < 3) { // the echo, after all messages
                break;
            }
            ++answers[reply->elements[2].text];
        }
        int highest = 0;
        for (const auto& [channel, count] : answers) {
            highest = std::max(highest, count);
        }
        return highest;
    }

private:
    static constexpr std::chrono::milliseconds kLimit{5000};
    static client::Deadline deadline() { return client::Clock::now() + kLimit; }

    client::Wire wire_;
};

class KilledDaemonTest : public test::EndToEnd, public testing::WithParamInterface<int> {
protected:
    void SetUp() override {
        environment()["ManagingMode"] = "1"; // without a unit whose scale a read would adopt
        answers_ = std::make_unique<AnswerCounter>(address());
        startDaemon();
        known_ = stored();
        next_ = known_;
    }

    // One life: killed with changes under way, sometimes with failed starts, then restarted.
    void liveAndDie() {
        dieUnderLoad();
        while (chance(10)) {
            dieWhileStarting();
        }
        startDaemon();
        checkDatabase();
        checkTree();
        EXPECT_EQ(ask("00001", kWebGui).messageId, "Success");
        EXPECT_LE(answers_->most(), 1) << "answers to one request";
    }

    void report(int rounds) const {
        std::printf("killed: seed %u, %d rounds, %d kills, %d changes acknowledged, under way at a "
                    "kill: %d arrived, %d did not\n",
                    seed_, rounds, kills_, acknowledged_, arrived_, lost_);
    }
    unsigned int seed() const { return seed_; }

private:
    client::Address address() { return client::parseAddress(redis().address()); }
    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }
    bool chance(int percent) { return below(100) < percent; }

    // ---- The load ----

    // A change that replaces every value by another one.
    client::SettingValues nextChange() {
        const std::string n = std::to_string(++changes_);
        switch (below(4)) {
        case 0:
            return {{"Language", "language " + n}};
        case 1:
            return {{"InitialBoot", known_["InitialBoot"] == "true" ? "false" : "true"}};
        default:
            return {{"ScreenBrightness", std::to_string(1 + changes_ % 7)},
                    {"BacklightOff", changes_ % 2 == 0 ? "Never" : "Off After 1 Minute"},
                    {"ActiveAlarmScreensaver", "screen saver " + n},
                    {"InactivityTimer", "timer " + n},
                    {"MeasurementSystem", changes_ % 2 == 0 ? "Metric" : "Imperial"},
                    {"DateFormat", "date " + n},
                    {"TimeFormat", "time " + n},
                    {"RoomAverage", changes_ % 2 == 0 ? "true" : "false"},
                    {"HiLoPeriod", "period " + n},
                    {"Theme", known_["Theme"] == "dark" ? "light" : "dark"}};
        }
    }

    // Changes settings until the daemon is gone.
    void change(client::WebGui& webGui) {
        try {
            for (;;) {
                const client::SettingValues changes = nextChange();
                next_ = changed(known_, changes);
                ++started_;
                started_.notify_all();
                const client::Update update =
                    webGui.updateSettings(changes, "load", /*anyValue=*/true);
                for (const client::UpdateAnswer& each : update.answers) {
                    ASSERT_EQ(each.answer.messageId, "Success") << output() << errors();
                }
                known_ = next_;
                ++acknowledged_;
            }
        } catch (const client::Error&) {
            return; // the daemon is gone, or did not answer
        }
    }

    // ---- The end ----

    // Any moment, or shortly after the start of a change or after one of its fixed pauses, when it
    // is about to be written.
    std::pair<int, microseconds> moment() {
        if (chance(50)) {
            return {1, microseconds(below(600'000))};
        }
        constexpr int kPauseOfADatabaseCall = 200'000;
        return {1 + below(2), microseconds(kPauseOfADatabaseCall * below(2) + below(6'000))};
    }

    void dieUnderLoad() {
        const auto [change_, pause] = moment();
        const bool isStopped = chance(15); // orderly at first
        const microseconds stop(isStopped ? below(50'000) : 0);
        started_ = 0;
        client::Stop noMore;
        client::WebGui webGui(address(), std::chrono::seconds(10), &noMore);
        std::thread killer([&, first = change_, wait = pause] {
            for (int seen = 0; (seen = started_) < first;) {
                started_.wait(seen);
            }
            std::this_thread::sleep_for(wait);
            if (isStopped) {
                daemon().signal(SIGTERM);
                std::this_thread::sleep_for(stop);
            }
            kill();
            // Everything sent before has arrived; nothing can follow.
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            noMore.request();
        });
        change(webGui);
        // Do not wait for the next change of a load that ended early.
        started_ = 1'000;
        started_.notify_all();
        killer.join();
    }

    void dieWhileStarting() {
        launchDaemon();
        const std::string program = "/proc/" + std::to_string(daemon().pid()) + "/exe";
        std::error_code ignored;
        ASSERT_TRUE(test::waitUntil(
            [&] { return std::filesystem::read_symlink(program, ignored) == ORVANE_DAEMON; }));
        std::this_thread::sleep_for(microseconds(below(300'000)));
        kill();
    }

    void kill() {
        daemon().signal(SIGKILL);
        daemon().wait();
        ++kills_;
    }

    // ---- The remains ----

    // Reads the database and checks that it is whole.
    Values stored() {
        std::string columns;
        for (const Column& each : kColumns) {
            columns += std::string(columns.empty() ? "" : ", ") + each.column;
        }
        std::istringstream lines(
            sql("SELECT " + columns + " FROM webgui_tbl; SELECT Data FROM View_Theme; " +
                "PRAGMA integrity_check; PRAGMA journal_mode; SELECT count(*) FROM webgui_tbl"));
        Values values;
        for (const Column& each : kColumns) {
            const bool isLast = &each == &kColumns[std::size(kColumns) - 1];
            std::getline(lines, values[each.setting], isLast ? '\n' : '|');
        }
        std::getline(lines, values["Theme"]);
        const std::string rest(std::istreambuf_iterator<char>(lines), {});
        EXPECT_EQ(rest, "ok\nwal\n1");
        return values;
    }

    void checkDatabase() {
        const Values found = stored();
        EXPECT_THAT(settingsRow(found), testing::AnyOf(settingsRow(known_), settingsRow(next_)));
        EXPECT_THAT(found.at("Theme"), testing::AnyOf(known_.at("Theme"), next_.at("Theme")));
        if (known_ != next_) {
            const bool isNew = settingsRow(found) != settingsRow(known_);
            ++(isNew ? arrived_ : lost_);
            EXPECT_TRUE(!isNew || found.at("Theme") == next_.at("Theme"))
                << "the theme is written first";
        }
        known_ = found;
        next_ = found;
    }

    void checkTree() {
        for (const auto& [setting, value] : known_) {
            EXPECT_EQ(field(kWebGui, setting), value) << setting;
        }
        for (const char* key : {test::kActions, test::kOem, test::kTurnOffLcd, test::kGuiReady}) {
            EXPECT_TRUE(exists(key)) << key;
        }
        EXPECT_EQ(redis().command({"LRANGE", collectionKey(), "0", "-1"}), kWebGui);
        EXPECT_EQ(redis().command({"SMEMBERS", "WorkTree:" + schemaTypeId()}), kWebGui);
        EXPECT_EQ(field("OvrCallbacks", schemaTypeId()), "OrvaneWebGUI");
        EXPECT_EQ(redis().command({"PUBSUB", "NUMSUB", "OrvaneWebGUI"}), "OrvaneWebGUI 1");
    }

    unsigned int seed_ =
        static_cast<unsigned int>(number("ORVANE_KILL_SEED", 1) + 1000 * GetParam());
    std::mt19937 random_{seed_};
    std::unique_ptr<AnswerCounter> answers_;
    Values known_;                 // last acknowledged, or found
    Values next_;                  // with the change under way
    std::atomic<int> started_ = 0; // changes in this life
    int changes_ = 0;
    int kills_ = 0;
    int acknowledged_ = 0;
    int arrived_ = 0;
    int lost_ = 0;
};

using KilledDaemon = KilledDaemonTest;

TEST_P(KilledDaemon, ComesBackWithTheLastAcknowledgedChangeOrTheOneUnderWay) {
    const int rounds = number("ORVANE_KILL_ROUNDS", 6);
    for (int round = 1; round <= rounds; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed()) + ", round " + std::to_string(round));
        liveAndDie();
        if (HasFailure()) {
            break;
        }
    }
    report(rounds);
}

// Several that run in parallel: a daemon spends most of its life in fixed pauses.
INSTANTIATE_TEST_SUITE_P(OfSeveral, KilledDaemon, testing::Range(0, 4));

} // namespace
