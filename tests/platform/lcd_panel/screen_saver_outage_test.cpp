// What the panel's calls do while the X server is absent, killed, paused, or dies in mid-exchange:
// the process survives, and no call takes longer than its bound.
#include "platform/lcd_panel.h"
#include "tests/platform/lcd_panel/x_server.h"
#include "tests/support/relay.h"
#include "tests/support/succeeds_soon.h"
#include "tests/support/wait_until.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

// Libx11 allocates a graphics context while it opens a display. If the server hangs up at that very
// moment, only libx11 knows about its 160 bytes.
extern "C" const char* __lsan_default_suppressions() { // NOLINT(readability-identifier-naming)
    return "leak:XCreateGC\n";
}

namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;

// The bound is 250 ms; the rest allows for a busy machine.
constexpr milliseconds kBound{1000};
// More packets than any exchange takes.
constexpr int kMaxStages = 12;

class ScreenSaverOutage : public testing::Test {
protected:
    ScreenSaverOutage() { use(server_.display()); }
    ~ScreenSaverOutage() override { ::unsetenv("DISPLAY"); }

    static void use(const std::string& display) { ::setenv("DISPLAY", display.c_str(), 1); }

    // The relay as a display: number n listens on port 6000 + n.
    static void use(const test::Relay& relay) {
        use("127.0.0.1:" + std::to_string(relay.port() - 6000));
    }

    template <typename Call>
    static milliseconds timeOf(Call call) {
        const auto begin = std::chrono::steady_clock::now();
        call();
        return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begin);
    }

    // A held exchange ends some time after its connection broke.
    static bool worksSoon() {
        return test::waitUntil([] { return LCDBlankTimeOutSet(42) == 0; });
    }

    struct Interrupted {
        bool reached; // the stage came, and the relay did `then`
        int result;   // of the call
    };

    // A call through a relay that does `then` at a stage. On a busy machine a call may also take
    // more than its 250 ms without the relay's doing: then once more.
    template <typename Call>
    Interrupted interruptedAt(int stage, test::Relay::Then then, Call call) {
        Interrupted result{};
        EXPECT_TRUE(test::waitUntil([&] {
            {
                const test::Relay relay(server_.socketPath(), stage, then);
                use(relay);
                EXPECT_LT(timeOf([&] { result.result = call(); }), kBound);
                result.reached = relay.reached();
            }
            use(server_.display());
            EXPECT_TRUE(worksSoon());
            return result.reached || result.result == 0;
        }));
        return result;
    }

    static std::ptrdiff_t countLines(const std::string& text) {
        return std::count(text.begin(), text.end(), '\n');
    }

    test::XServer server_;
};

TEST_F(ScreenSaverOutage, IsToldOnceWhileNoServerIsThere) {
    server_.kill();
    for (int outage = 0; outage < 2; ++outage) {
        testing::internal::CaptureStderr();
        for (int i = 0; i < 3; ++i) {
            EXPECT_LT(timeOf([] { EXPECT_NE(LCDBlankTimeOutSet(60), 0); }), kBound);
            EXPECT_LT(timeOf([] { EXPECT_NE(LCDBlank(0), 0); }), kBound);
        }
        const std::string text = testing::internal::GetCapturedStderr();
        EXPECT_THAT(text, HasSubstr("[LCDBlankTimeOutSet]: display " + server_.display()));
        EXPECT_EQ(countLines(text), 1) << text;
        server_.start();
        EXPECT_TRUE(worksSoon());
        EXPECT_THAT(server_.screenSaver(), HasSubstr("timeout 42 "));
        server_.kill();
    }
}

TEST_F(ScreenSaverOutage, IsToldOnceWithoutADisplay) {
    ::unsetenv("DISPLAY");
    testing::internal::CaptureStderr();
    EXPECT_NE(LCDBlank(0), 0);
    EXPECT_NE(LCDBlank(1), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[LCDBlank]: DISPLAY is not set; name the panel's X server, e.g. :0\n");
}

TEST_F(ScreenSaverOutage, EndsWithTheServersReturn) {
    ASSERT_TRUE(test::succeedsSoon([] { return LCDBlankTimeOutSet(60); }));
    server_.kill();
    EXPECT_NE(LCDBlankTimeOutSet(60), 0);
    server_.start();
    EXPECT_TRUE(worksSoon());
}

TEST_F(ScreenSaverOutage, HoldsNoCallWhileTheServerIsPaused) {
    server_.xset("s 77 88");
    server_.pause();
    testing::internal::CaptureStderr();
    const auto first = timeOf([] { EXPECT_NE(LCDBlankTimeOutSet(60), 0); });
    EXPECT_GE(first, milliseconds(250));
    EXPECT_LT(first, kBound);
    // At once: each of them would otherwise wait for 250 ms.
    EXPECT_LT(timeOf([] {
                  for (int i = 0; i < 5; ++i) {
                      EXPECT_NE(LCDBlank(0), 0);
                  }
              }),
              5 * milliseconds(250));
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_EQ(countLines(text), 1) << text;
    EXPECT_THAT(text, HasSubstr("does not answer within 250 ms"));
    server_.resume();
    EXPECT_TRUE(test::waitUntil([] { return LCDBlank(1) == 0; }));
    // The abandoned call changed nothing afterwards.
    EXPECT_THAT(server_.screenSaver(), HasSubstr("timeout 77 "));
    EXPECT_FALSE(server_.isDark());
}

TEST_F(ScreenSaverOutage, IsOverWhenAPausedServerIsKilledAndAnotherStarts) {
    server_.pause();
    EXPECT_NE(LCDBlankTimeOutSet(60), 0);
    server_.kill();
    server_.start();
    EXPECT_TRUE(worksSoon());
}

TEST_F(ScreenSaverOutage, EndsNothingWhenTheServerHangsUpAtAnyStage) {
    int broken = 0;
    for (int stage = 0; stage < kMaxStages; ++stage) {
        SCOPED_TRACE(stage);
        if (interruptedAt(stage, test::Relay::Then::hangUp, [] {
                return LCDBlankTimeOutSet(60);
            }).reached) {
            ++broken;
        }
    }
    EXPECT_GE(broken, 5); // set-up, what libx11 asks for, get, set
    EXPECT_LT(broken, kMaxStages);
}

TEST_F(ScreenSaverOutage, HoldsNoCallWhenTheServerFallsSilentAtAnyStage) {
    for (int stage = 0; stage < kMaxStages; ++stage) {
        SCOPED_TRACE(stage);
        const Interrupted call =
            interruptedAt(stage, test::Relay::Then::fallSilent, [] { return LCDBlank(1); });
        EXPECT_EQ(call.result != 0, call.reached);
    }
}

// SIGTERM is for the program; a thread of the library that took it would kill the process.
TEST_F(ScreenSaverOutage, LeavesNoThreadThatTakesSignals) {
    const test::Relay relay(server_.socketPath(), 1, test::Relay::Then::fallSilent);
    use(relay);
    ASSERT_NE(LCDBlank(1), 0);
    ASSERT_TRUE(test::waitUntil([&] { return relay.reached(); }));
    int threadsOfTheLibrary = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(task.path() / "status");
        std::string line;
        while (std::getline(status, line) && !line.starts_with("SigBlk:")) {
        }
        const auto blocked = std::stoull(line.substr(line.find('\t') + 1), nullptr, 16);
        const auto isBlocked = [&](int number) { return (blocked >> (number - 1) & 1U) != 0; };
        threadsOfTheLibrary += isBlocked(SIGTERM) && isBlocked(SIGINT) ? 1 : 0;
    }
    // The main thread and the relay's block no signals.
    EXPECT_GE(threadsOfTheLibrary, 1);
}

} // namespace
