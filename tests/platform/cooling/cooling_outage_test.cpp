// What the calls do while the unit is silent, slow, refusing, restarted, absent, or not a unit.
#include "platform/cooling.h"

#include "tests/platform/cooling/canned_server.h"
#include "tests/platform/cooling_unit_sim/cooling_unit_process.h"
#include "tests/support/wait_until.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::HasSubstr;

// Connecting and receiving the answer takes at most 250 ms, and a dead kept connection as much
// again before that; the rest allows for a busy machine.
constexpr milliseconds kBound{1000};
// Forty calls, each of which would otherwise wait for 250 ms.
constexpr milliseconds kAtOnce{800};

class CoolingOutage : public testing::Test {
protected:
    CoolingOutage() { use(unit_.address()); }
    ~CoolingOutage() override { ::unsetenv("COOLING_UNIT"); }

    static void use(const std::string& address) { ::setenv("COOLING_UNIT", address.c_str(), 1); }

    static int read() {
        int scale = -5;
        std::array<char, 1024> text{};
        text.fill('x');
        const int result = CoolGetTempScale(0, &scale, 0, text.data());
        if (result != 0) {
            EXPECT_EQ(scale, -5);
            EXPECT_STREQ(text.data(), "");
        }
        return result;
    }
    static int write() { return CoolSetTempScale(0, 0, "operator", 0); }

    template <typename Call>
    static milliseconds timeOf(Call call) {
        const auto begin = steady_clock::now();
        call();
        return std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin);
    }

    // One call that fails within the bound, more that fail at once, and one log line for all.
    static std::string expectOutage() {
        testing::internal::CaptureStderr();
        EXPECT_LT(timeOf([] { EXPECT_NE(read(), 0); }), kBound);
        EXPECT_LT(timeOf([] {
                      for (int i = 0; i < 20; ++i) {
                          EXPECT_NE(read(), 0);
                          EXPECT_NE(write(), 0);
                      }
                  }),
                  kAtOnce);
        std::string text = testing::internal::GetCapturedStderr();
        EXPECT_EQ(countLines(text), 1) << text;
        return text;
    }
    // What is logged until a call succeeds again; fails unless that takes about a second.
    static std::string expectRecovery() {
        testing::internal::CaptureStderr();
        EXPECT_LT(timeOf([] { EXPECT_TRUE(test::waitUntil([] { return read() == 0; })); }),
                  milliseconds(1000) + kBound);
        EXPECT_EQ(write(), 0);
        return testing::internal::GetCapturedStderr();
    }
    static std::ptrdiff_t countLines(const std::string& text) {
        return std::count(text.begin(), text.end(), '\n');
    }

    test::CoolingUnitProcess unit_;
};

TEST_F(CoolingOutage, IsToldOnceAndItsEndToo) {
    ASSERT_EQ(read(), 0);
    for (int i = 0; i < 2; ++i) {
        unit_.terminate();
        EXPECT_EQ(expectOutage(),
                  "[CoolGetTempScale]: cooling unit " + unit_.address() + ": Connection refused\n");
        unit_.start();
        EXPECT_EQ(expectRecovery(),
                  "[CoolGetTempScale]: cooling unit " + unit_.address() + " answers again\n");
        EXPECT_EQ(unit_.readRegister(), "0");
    }
}

TEST_F(CoolingOutage, IsBoundedWhenTheUnitFallsSilent) {
    ASSERT_EQ(read(), 0);
    EXPECT_EQ(unit_.tell("silent").status, 0);
    EXPECT_THAT(expectOutage(), HasSubstr("Connection timed out"));
    EXPECT_EQ(unit_.tell("normal").status, 0);
    expectRecovery();
}

TEST_F(CoolingOutage, IsBoundedWhenTheUnitIsFrozen) {
    ASSERT_EQ(read(), 0);
    unit_.signal(SIGSTOP);
    EXPECT_THAT(expectOutage(), HasSubstr("Connection timed out"));
    unit_.signal(SIGCONT);
    expectRecovery();
}

TEST_F(CoolingOutage, IsBoundedWhenNoConnectionComesAbout) {
    const test::FullListener listener;
    use(listener.address());
    EXPECT_THAT(expectOutage(), HasSubstr("Connection timed out"));
}

TEST_F(CoolingOutage, IsTriedAgainAfterASecondAndNotBefore) {
    const test::CannedServer silent({});
    use(silent.address());
    ASSERT_NE(read(), 0);
    const auto failed = steady_clock::now();
    EXPECT_EQ(silent.connections(), 1);
    EXPECT_TRUE(test::waitUntil([&] {
        read();
        return silent.connections() == 2;
    }));
    EXPECT_GE(steady_clock::now() - failed, milliseconds(990));
    EXPECT_LT(steady_clock::now() - failed, milliseconds(1000) + kBound);
}

TEST_F(CoolingOutage, DoesNotComeOfASlowUnit) {
    EXPECT_EQ(unit_.tell("slow 50").status, 0);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(write(), 0);
    EXPECT_EQ(unit_.readRegister(), "0");
}

TEST_F(CoolingOutage, ComesOfAUnitThatIsTooSlowAndItsLateAnswersAreNotTaken) {
    ASSERT_EQ(read(), 0);
    EXPECT_EQ(unit_.tell("slow 400").status, 0);
    EXPECT_THAT(expectOutage(), HasSubstr("Connection timed out"));
    EXPECT_EQ(unit_.tell("normal").status, 0);
    EXPECT_EQ(unit_.tell("scale 7").status, 0);
    int scale = -5;
    EXPECT_TRUE(test::waitUntil([&] { return CoolGetTempScale(0, &scale, 0, nullptr) == 0; }));
    EXPECT_EQ(scale, 7);
}

TEST_F(CoolingOutage, DoesNotComeOfARestartBetweenTwoCalls) {
    testing::internal::CaptureStderr();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(write(), 0);
        EXPECT_EQ(read(), 0);
        unit_.kill();
        unit_.start();
    }
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(CoolingOutage, IsNoneWhenTheUnitRefuses) {
    ASSERT_EQ(read(), 0);
    EXPECT_EQ(unit_.tell("exception 4").status, 0);
    testing::internal::CaptureStderr();
    // At once: none of the six waits for its 250 ms.
    EXPECT_LT(timeOf([] {
                  for (int i = 0; i < 3; ++i) {
                      EXPECT_NE(read(), 0);
                      EXPECT_NE(write(), 0);
                  }
              }),
              6 * milliseconds(250));
    const std::string unit = "]: cooling unit " + unit_.address();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[CoolGetTempScale" + unit + " refuses: Slave device or server failure\n" +
                  "[CoolSetTempScale" + unit + " refuses: Slave device or server failure\n");
    EXPECT_EQ(unit_.tell("normal").status, 0);
    EXPECT_EQ(read(), 0); // at once: the unit was reachable all the time
    EXPECT_EQ(write(), 0);
}

TEST_F(CoolingOutage, ComesOfAServerThatIsNoUnit) {
    struct Row {
        const char* what;
        std::vector<std::uint8_t> bytes;
    };
    const Row rows[] = {
        {"text", {'H', 'T', 'T', 'P', '/', '1', '.', '1', ' ', '4', '0', '0', '\r', '\n'}},
        {"zeros", std::vector<std::uint8_t>(300, 0)},
        {"ones", std::vector<std::uint8_t>(300, 255)},
        {"another transaction", {0x77, 0x77, 0, 0, 0, 5, 1, 3, 2, 0, 1}},
        {"half an answer", {0, 1, 0, 0, 0, 5, 1, 3}},
        {"two registers for one", {0, 1, 0, 0, 0, 7, 1, 3, 4, 0, 1, 0, 1}},
        {"another function", {0, 1, 0, 0, 0, 5, 1, 4, 2, 0, 1}},
    };
    for (const Row& row : rows) {
        for (const bool hangUp : {false, true}) {
            SCOPED_TRACE(row.what);
            const test::CannedServer server({row.bytes, {}, hangUp});
            use(server.address());
            EXPECT_THAT(expectOutage(), HasSubstr(server.address()));
            EXPECT_GE(server.requests(), 1);
        }
    }
}

TEST_F(CoolingOutage, ComesOfAnAnswerThatDripsInForTooLong) {
    const std::vector<std::uint8_t> right{0, 1, 0, 0, 0, 5, 1, 3, 2, 0, 1};
    const test::CannedServer atOnce({right});
    use(atOnce.address());
    EXPECT_EQ(read(), 0);
    const test::CannedServer dripping({right, milliseconds(100)});
    use(dripping.address());
    EXPECT_THAT(expectOutage(), HasSubstr("Connection timed out"));
}

TEST_F(CoolingOutage, HoldsAReadNoLongerThanTheWriteBeforeItMayTake) {
    ASSERT_EQ(read(), 0);
    EXPECT_EQ(unit_.tell("silent").status, 0);
    std::thread writer([] { EXPECT_LT(timeOf([] { EXPECT_NE(write(), 0); }), kBound); });
    EXPECT_LT(timeOf([] { EXPECT_NE(read(), 0); }), kBound);
    writer.join();
}

TEST_F(CoolingOutage, NamesTheAcceptedFormsForABadAddress) {
    use("unit:502");
    EXPECT_EQ(expectOutage(),
              "[CoolGetTempScale]: COOLING_UNIT is \"unit:502\"; use an IPv4 address, an "
              "IPv6 address in brackets, or localhost, with a port: 127.0.0.1:502\n");
    use(unit_.address());
    EXPECT_EQ(read(), 0);
}

TEST_F(CoolingOutage, NamesTheDefaultAddressWithoutAGivenOne) {
    for (const char* unset : {"", static_cast<const char*>(nullptr)}) {
        use("unit:502");
        read();
        unset == nullptr ? ::unsetenv("COOLING_UNIT") : ::setenv("COOLING_UNIT", unset, 1);
        testing::internal::CaptureStderr();
        if (read() == 0) {
            testing::internal::GetCapturedStderr();
            GTEST_SKIP() << "something answers on port 502 of this machine";
        }
        EXPECT_THAT(testing::internal::GetCapturedStderr(),
                    HasSubstr("cooling unit 127.0.0.1:502: "));
    }
}

} // namespace
