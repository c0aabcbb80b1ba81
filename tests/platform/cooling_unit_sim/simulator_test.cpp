// The register, its state file, and the start and end of the program.
#include "tests/platform/cooling_unit_sim/cooling_unit_process.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace {

using test::CoolingUnitProcess;
using test::readFile;
using test::runCoolingUnitSim;
using testing::ContainsRegex;
using testing::HasSubstr;

TEST(Simulator, StartsMetric) {
    const CoolingUnitProcess unit;
    EXPECT_EQ(unit.readRegister(), "1");
    EXPECT_EQ(readFile(unit.stateFile()), "temperature-scale 1\n");
}

TEST(Simulator, TakesWhatAClientWrites) {
    const CoolingUnitProcess unit;
    for (const int value : {0, 1, 7, 65535, 0}) {
        EXPECT_EQ(unit.writeRegister(value), "");
        EXPECT_EQ(unit.readRegister(), std::to_string(value));
        EXPECT_EQ(readFile(unit.stateFile()), "temperature-scale " + std::to_string(value) + "\n");
    }
}

TEST(Simulator, PrintsEachChangeWithItsTime) {
    const CoolingUnitProcess unit;
    unit.writeRegister(0);
    unit.writeRegister(0);
    unit.tell("scale metric");
    const std::string time = "\n2[0-9]{3}-[0-9]{2}-[0-9]{2} [0-9:]{8}\\.[0-9]{3} ";
    EXPECT_THAT(unit.output(),
                ContainsRegex(time +
                              "temperature scale 1 \\(metric\\) -> 0 \\(imperial\\), by "
                              "127\\.0\\.0\\.1:[0-9]+" +
                              time +
                              "temperature scale 0 \\(imperial\\) -> 1 \\(metric\\), by "
                              "tell\n$"));
}

TEST(Simulator, HasOneRegisterAndOneUnitId) {
    const CoolingUnitProcess unit;
    EXPECT_EQ(unit.readRegister(100, 1), "failed: Illegal data address");
    EXPECT_EQ(unit.readRegister(102, 1), "failed: Illegal data address");
    EXPECT_EQ(unit.readRegister(101, 2), "failed: Target device failed to respond");
}

TEST(Simulator, KeepsTheRegisterOverAnOrderlyEnd) {
    CoolingUnitProcess unit;
    unit.writeRegister(0);
    EXPECT_EQ(unit.terminate(), 0);
    EXPECT_FALSE(std::filesystem::exists(unit.controlSocket()));
    EXPECT_THAT(unit.output(), testing::EndsWith("cooling-unit-sim ends\n"));
    unit.start();
    EXPECT_EQ(unit.readRegister(), "0");
}

TEST(Simulator, KeepsTheRegisterOverASuddenEnd) {
    CoolingUnitProcess unit;
    for (const int value : {0, 1, 7}) {
        ASSERT_EQ(unit.writeRegister(value), "");
        unit.kill();
        unit.start(); // also replaces the control socket left behind
        EXPECT_EQ(unit.readRegister(), std::to_string(value));
    }
}

TEST(Simulator, RefusesAWriteThatItCannotKeep) {
    const CoolingUnitProcess unit;
    std::filesystem::remove_all(unit.stateFolder());
    EXPECT_EQ(unit.writeRegister(0), "failed: Slave device or server failure");
    EXPECT_EQ(unit.readRegister(), "1");
    EXPECT_NE(unit.tell("scale imperial").status, 0);
    EXPECT_EQ(unit.readRegister(), "1");
    std::filesystem::create_directory(unit.stateFolder());
    EXPECT_EQ(unit.writeRegister(0), "");
    EXPECT_EQ(unit.readRegister(), "0");
}

TEST(Simulator, DoesNotStartOnAStateFileItDoesNotUnderstand) {
    const test::TemporaryFolder folder;
    for (const char* text : {"", "\n", "1\n", "temperature-scale \n", "temperature-scale 65536\n",
                             "temperature-scale -1\n", "temperature-scale 1 x\n"}) {
        test::writeFile(folder.file("state"), text);
        const auto finished =
            runCoolingUnitSim({"--listen", "127.0.0.1:0", "--state", folder.file("state")});
        EXPECT_EQ(finished.status, 1) << text;
        EXPECT_THAT(finished.error, HasSubstr(folder.file("state"))) << text;
        EXPECT_EQ(readFile(folder.file("state")), text);
    }
}

TEST(Simulator, DoesNotStartWhereItCannotListen) {
    const CoolingUnitProcess unit;
    const auto taken = runCoolingUnitSim({"--listen", unit.address()});
    EXPECT_EQ(taken.status, 1);
    EXPECT_THAT(taken.error, HasSubstr(unit.address() + ": Address already in use"));
    for (const char* text : {"", "127.0.0.1", "unit:502", "127.0.0.1:65536", "127.0.0.1:-1"}) {
        const auto finished = runCoolingUnitSim({"--listen", text});
        EXPECT_EQ(finished.status, 1) << text;
        EXPECT_THAT(finished.error, HasSubstr("use an IPv4 address")) << text;
    }
}

TEST(Simulator, DoesNotTakeTheControlSocketOfAnother) {
    const CoolingUnitProcess unit;
    const auto finished =
        runCoolingUnitSim({"--listen", "127.0.0.1:0", "--control", unit.controlSocket()});
    EXPECT_EQ(finished.status, 1);
    EXPECT_THAT(finished.error, HasSubstr(unit.controlSocket()));
    EXPECT_EQ(unit.tell("show").status, 0);
}

TEST(Simulator, EndsOnCtrlC) {
    CoolingUnitProcess unit;
    EXPECT_EQ(unit.terminate(SIGINT), 0);
}

} // namespace
