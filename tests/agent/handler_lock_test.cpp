// Which handler waits for which, with real threads. The tests hold a handler in the pause after a
// database call.
#include "agent/handler_tables.h"
#include "requests/return_messages.h"
#include "tests/agent/agent_fixture.h"
#include "tests/support/wait_until.h"
#include "text.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr char kLockedInstance[] = "80000000-0000-0000-0000-008000000000";

// How long a thread gets to run past a lock that it should wait for. Only a defect depends on it.
constexpr auto kLongEnough = 100ms;

// Blocks the first thread that pauses until release(). Later pauses return at once.
class HeldPause {
public:
    HeldPause() {
        doubles::duringPause() = [this] {
            if (!taken_.exchange(true)) {
                reached_.set_value();
                released_.get_future().wait();
            }
        };
    }
    // Destroy it after the threads have ended.
    ~HeldPause() { doubles::duringPause() = nullptr; }
    HeldPause(const HeldPause&) = delete;
    HeldPause& operator=(const HeldPause&) = delete;

    void waitUntilReached() { reached_.get_future().wait(); }
    void release() { released_.set_value(); }

private:
    std::atomic<bool> taken_ = false;
    std::promise<void> reached_;
    std::promise<void> released_;
};

redisContext* g_context = nullptr;

int update(AgentUpdateHandler handler, const std::vector<std::string>& values) {
    std::vector<FieldValuePair> records(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        copyBounded(records[i].value, values[i]);
    }
    FieldValuePair* data = records.data();
    int count = static_cast<int>(values.size());
    ReturnMessage answer = kSuccessTemplate;
    const int result = handler(g_context, kLockedInstance, &data, &count, &answer);
    freeReturnMessage(&answer);
    return result;
}

int updateLanguage() {
    return update(OrvaneWebGUI_Agent_UPDATE_00002, {"Deutsch"});
}

int updateDisplay() {
    return update(OrvaneWebGUI_Agent_UPDATE_00003,
                  {"2", "Off After 1 Minute", "Disabled", "1 Minute", "Imperial", "D", "12",
                   "false", "1 Hour", "light", "operator"});
}

int updateBoot() {
    return update(OrvaneWebGUI_Agent_UPDATE_00004, {"true"});
}

int read() {
    bool flag = false;
    ReturnMessage answer = kSuccessTemplate;
    return OrvaneWebGUI_Agent_UPDATE_00001(g_context, kLockedInstance, &answer, &flag);
}

int turnOffLcd() {
    ReturnMessage answer = kSuccessTemplate;
    return OrvaneWebGUI_Agent_ACTION_TurnOffLCD(g_context, kLockedInstance, nullptr, &answer,
                                                nullptr);
}

int guiReady() {
    ReturnMessage answer = kSuccessTemplate;
    return OrvaneWebGUI_Agent_ACTION_GUIReady(g_context, kLockedInstance, nullptr, &answer,
                                              nullptr);
}

class HandlerLock : public agent_test::AgentTest {
protected:
    HandlerLock() {
        G_ManagingMode = 0;
        g_context = doubles::context();
        doubles::hashes()[kLockedInstance] = {{"MeasurementSystem", "Metric"}};
        start();
    }
    ~HandlerLock() override { G_ManagingMode = 2; }

    // Returns whether any of the others, all started at once, returns while `holder` is blocked in
    // a pause.
    static bool endsWhile(int (*holder)(), const std::vector<int (*)()>& others) {
        HeldPause pause;
        std::future<int> first = std::async(std::launch::async, holder);
        pause.waitUntilReached();
        std::vector<std::future<int>> all;
        all.reserve(others.size());
        for (int (*const other)() : others) {
            all.push_back(std::async(std::launch::async, other));
        }
        const bool ended = test::waitUntil(
            [&all] {
                return std::ranges::any_of(all, [](const std::future<int>& each) {
                    return each.wait_for(0s) == std::future_status::ready;
                });
            },
            kLongEnough);
        pause.release();
        EXPECT_EQ(first.get(), 0);
        for (std::future<int>& each : all) {
            EXPECT_EQ(each.get(), 0);
        }
        return ended;
    }
    // Expects that it does, and gives it time.
    static void expectEndsWhile(int (*holder)(), int (*other)()) {
        HeldPause pause;
        std::future<int> first = std::async(std::launch::async, holder);
        pause.waitUntilReached();
        std::future<int> second = std::async(std::launch::async, other);
        EXPECT_EQ(second.wait_for(20s), std::future_status::ready);
        pause.release();
        EXPECT_EQ(first.get(), 0);
        EXPECT_EQ(second.get(), 0);
    }
};

TEST_F(HandlerLock, IsNotTakenByAReadThatHasNothingToChange) {
    for (const auto holder : {updateLanguage, updateBoot, updateDisplay, turnOffLcd}) {
        expectEndsWhile(holder, read);
        doubles::coolingUnit().scale = 1; // "00003" has changed it
    }
}

TEST_F(HandlerLock, IsNotTakenByAReadThatMustLeaveTheUnitAlone) {
    G_ManagingMode = 1;
    doubles::coolingUnit().scale = 0;
    for (const auto holder : {updateLanguage, updateBoot, updateDisplay, turnOffLcd}) {
        expectEndsWhile(holder, read);
    }
}

TEST_F(HandlerLock, IsTakenByAReadForItsChangeOfTheSettings) {
    doubles::coolingUnit().scale = 0;
    EXPECT_FALSE(endsWhile(updateLanguage, {read}));
    EXPECT_EQ(G_WebGUIAgent->getMeasurementSystem(), "Imperial");
}

TEST_F(HandlerLock, IsTakenByAReadOnlyAfterItHasWrittenTheInstance) {
    doubles::coolingUnit().scale = 0;
    HeldPause pause;
    std::future<int> first = std::async(std::launch::async, updateLanguage);
    pause.waitUntilReached();
    std::future<int> second = std::async(std::launch::async, read);
    EXPECT_TRUE(test::waitUntil([] { return !doubles::callsOf("osselCreateHashTable").empty(); }));
    pause.release();
    EXPECT_EQ(first.get(), 0);
    EXPECT_EQ(second.get(), 0);
}

// GUIReady never pauses, so no test can hold it.
TEST_F(HandlerLock, KeepsUpdatesAndActionsApart) {
    for (const auto holder : {updateLanguage, updateDisplay, updateBoot, turnOffLcd}) {
        EXPECT_FALSE(
            endsWhile(holder, {updateLanguage, updateDisplay, updateBoot, turnOffLcd, guiReady}));
    }
}

TEST_F(HandlerLock, IsHeldByAReadWhileItWritesTheSettings) {
    doubles::coolingUnit().scale = 0;
    EXPECT_FALSE(endsWhile(read, {updateLanguage}));
}

// All handlers at once, many times: for the thread sanitizer and a whole row at the end.
TEST_F(HandlerLock, LeavesAWholeRowAfterManyHandlersAtOnce) {
    constexpr int kRounds = 40;
    std::vector<std::thread> threads;
    for (const auto handler :
         {updateLanguage, updateDisplay, updateBoot, turnOffLcd, guiReady, read}) {
        threads.emplace_back([handler] {
            for (int i = 0; i < kRounds; ++i) {
                EXPECT_EQ(handler(), 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(doubles::setting("Language"), "Deutsch");
    EXPECT_EQ(doubles::setting("InitBoot"), "true");
    EXPECT_EQ(doubles::setting("HiLoPeriod"), "1 Hour");
    EXPECT_EQ(doubles::runSql("SELECT Data FROM Misc"), "light");
}

} // namespace
