// Every word of `tell`; an independent Modbus client sees its effect.
#include "tests/platform/cooling_unit_sim/cooling_unit_process.h"

#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::HasSubstr;

class Tell : public testing::Test {
protected:
    void expectDone(const std::string& words, const std::string& output) const {
        const auto finished = unit_.tell(words);
        EXPECT_EQ(finished.status, 0) << words << ": " << finished.error;
        EXPECT_EQ(finished.output, output + "\n");
    }
    test::CoolingUnitProcess unit_;
};

TEST_F(Tell, ShowsWhatHolds) {
    expectDone("show", "scale 1 (metric), normal");
}

TEST_F(Tell, MakesTheUnitSilentAndNormalAgain) {
    expectDone("silent", "scale 1 (metric), silent");
    EXPECT_EQ(unit_.readRegister(), "failed: Connection timed out");
    expectDone("normal", "scale 1 (metric), normal");
    EXPECT_EQ(unit_.readRegister(), "1");
}

TEST_F(Tell, MakesTheUnitAnswerWithExceptions) {
    expectDone("exception 4", "scale 1 (metric), exception 4");
    EXPECT_EQ(unit_.readRegister(), "failed: Slave device or server failure");
    expectDone("exception 6", "scale 1 (metric), exception 6");
    EXPECT_EQ(unit_.writeRegister(0), "failed: Slave device or server is busy");
    expectDone("normal", "scale 1 (metric), normal");
    EXPECT_EQ(unit_.readRegister(), "1");
}

TEST_F(Tell, MakesTheUnitSlow) {
    expectDone("slow 300", "scale 1 (metric), slow 300");
    const auto begin = steady_clock::now();
    EXPECT_EQ(unit_.readRegister(), "1");
    EXPECT_GE(steady_clock::now() - begin, milliseconds(300));
}

TEST_F(Tell, ChangesTheRegister) {
    expectDone("scale imperial", "scale 0 (imperial), normal");
    EXPECT_EQ(unit_.readRegister(), "0");
    expectDone("scale metric", "scale 1 (metric), normal");
    EXPECT_EQ(unit_.readRegister(), "1");
    expectDone("scale 65535", "scale 65535, normal");
    EXPECT_EQ(unit_.readRegister(), "65535");
}

TEST_F(Tell, RefusesOtherWordsAndListsTheAllowedOnes) {
    for (const char* words :
         {"loud", "exception", "exception 0", "exception 12", "exception x", "slow", "slow -1",
          "slow 60001", "scale", "scale kelvin", "scale 65536", "silent now", "show me"}) {
        const auto finished = unit_.tell(words);
        EXPECT_EQ(finished.status, 1) << words;
        EXPECT_THAT(finished.error, HasSubstr("\"" + std::string(words) + "\" is unknown"));
        EXPECT_THAT(finished.error, HasSubstr("silent | exception CODE (1 to 11)"));
        EXPECT_EQ(finished.output, "");
    }
    expectDone("show", "scale 1 (metric), normal");
}

TEST_F(Tell, FailsWhereNoSimulatorRuns) {
    unit_.terminate();
    const auto finished = unit_.tell("show");
    EXPECT_EQ(finished.status, 1);
    EXPECT_THAT(finished.error, HasSubstr("No such file or directory"));
}

} // namespace
