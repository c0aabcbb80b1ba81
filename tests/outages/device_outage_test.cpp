// The cooling unit, the X server and the backlight silent, gone and back under the running daemon:
// every request is answered in time, the other settings take effect, each outage costs one line,
// and what brings a device up to date again.
#include "tests/end_to_end/devices.h"
#include "tests/support/wait_until.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>

namespace {

using std::chrono::milliseconds;
using test::Answer;
using test::kWebGui;
using testing::EndsWith;
using testing::HasSubstr;

const Answer kDone{"Success", {}};

// Two database calls with their pauses, and 250 ms for each device; the rest allows for a busy
// machine.
constexpr milliseconds kChangeBound{5000};
constexpr milliseconds kReadBound{3000};

class DeviceOutageTest : public test::EndToEndWithDevices {
protected:
    void TearDown() override {
        coolingUnit().signal(SIGCONT);
        xServer().signal(SIGCONT);
        EndToEndWithDevices::TearDown();
    }

    // Expects "Success" within the bound.
    void expectSuccess(const std::string& msgId, const std::string& reqArg, milliseconds bound) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(ask(msgId, reqArg), kDone);
        EXPECT_LT(std::chrono::steady_clock::now() - start, bound);
    }
    // Tries once or twice more if need be: on a busy machine a reachable device may take longer
    // than the 250 ms of a call, and then counts as unreachable too.
    template <typename Condition, typename Again>
    void expectSoon(Condition condition, Again again) {
        const auto holdsOrAgain = [&] {
            const bool holds = condition();
            if (!holds) {
                again();
            }
            return holds;
        };
        EXPECT_TRUE(test::waitUntil(holdsOrAgain)) << errors();
    }
    void expectBlankTimeOut(const std::string& choice, const std::string& seconds) {
        expectSoon([&] { return blankTimeOut() == seconds; },
                   [&] {
                       expectChange({{"BacklightOff", "Never"}});
                       expectChange({{"BacklightOff", choice}});
                   });
    }

    void expectRead() { expectSuccess("00001", kWebGui, kReadBound); }

    // Changes by "00003" on top of the present values; each reaches database and instance.
    void expectChange(const std::map<std::string, std::string>& changes) {
        for (const auto& [name, value] : changes) {
            present_[name] = value;
        }
        expectSuccess("00003", displayRequest(present_), kChangeBound);
        for (const auto& [name, value] : changes) {
            EXPECT_EQ(field(kWebGui, name), value) << name;
        }
        EXPECT_EQ(setting("Timer"), field(kWebGui, "InactivityTimer"));
        EXPECT_EQ(setting("Brightness"), field(kWebGui, "ScreenBrightness"));
        EXPECT_EQ(setting("BacklightOff"), field(kWebGui, "BacklightOff"));
        EXPECT_EQ(storedTheme(), field(kWebGui, "Theme"));
    }

    void killCoolingUnit() { end(coolingUnit()); }
    void killXServer() { end(xServer()); }

    // A read tries the unit again one second after a failed attempt.
    void readUntilUnitAnswers() {
        EXPECT_TRUE(test::waitUntil([this] {
            expectRead();
            return errors().ends_with("[CoolGetTempScale]: cooling unit " + unitAddress() +
                                      " answers again\n");
        })) << errors();
    }
    void expectMeasurementSystem(const std::string& expected) {
        EXPECT_EQ(field(kWebGui, "MeasurementSystem"), expected);
        EXPECT_EQ(setting("Measurement"), expected);
    }

    std::string unitAddress() { return environment().at("COOLING_UNIT"); }

private:
    static void end(test::ChildProcess& process) {
        process.signal(SIGKILL);
        process.wait();
    }

    std::map<std::string, std::string> present_;
};

using DeviceOutage = DeviceOutageTest;

// Meant: a unit that does not answer counts as metric, even if it was imperial.
TEST_F(DeviceOutage, ASilentCoolingUnitCountsAsMetricUntilItAnswersAgain) {
    expectChange({{"MeasurementSystem", "Imperial"}});
    ASSERT_EQ(temperatureScale(), "0");
    coolingUnit().signal(SIGSTOP);
    expectRead();
    expectMeasurementSystem("Metric");
    for (int i = 0; i < 3; ++i) {
        expectRead();
    }
    EXPECT_THAT(errors(), EndsWith("[CoolGetTempScale]: cooling unit " + unitAddress() +
                                   ": Connection timed out\n"));
    coolingUnit().signal(SIGCONT);
    readUntilUnitAnswers();
    expectMeasurementSystem("Imperial");
}

TEST_F(DeviceOutage, AChangeWithASilentCoolingUnitAppliesAllOtherSettings) {
    coolingUnit().signal(SIGSTOP);
    expectChange({{"MeasurementSystem", "Imperial"},
                  {"ScreenBrightness", "2"},
                  {"BacklightOff", "Off After 1 Minute"},
                  {"InactivityTimer", "5 Minutes"},
                  {"Theme", "light"}});
    expectMeasurementSystem("Imperial");
    EXPECT_EQ(backlight(), std::to_string(2 * kStepsPerLevel));
    expectBlankTimeOut("Off After 1 Minute", "60");
    EXPECT_THAT(errors(), HasSubstr("[CoolSetTempScale]: cooling unit " + unitAddress()));
}

// The unit owns its scale: the next read undoes a change that it missed.
TEST_F(DeviceOutage, ACoolingUnitThatIsGoneAndBackHasTheLastWordOnItsScale) {
    killCoolingUnit();
    expectChange({{"MeasurementSystem", "Imperial"}, {"InactivityTimer", "5 Minutes"}});
    EXPECT_THAT(errors(), EndsWith("[CoolSetTempScale]: cooling unit " + unitAddress() +
                                   ": Connection refused\n"));
    startCoolingUnit();
    ASSERT_EQ(temperatureScale(), "1");
    expectMeasurementSystem("Imperial");
    readUntilUnitAnswers();
    expectMeasurementSystem("Metric");
    expectChange({{"MeasurementSystem", "Imperial"}});
    expectSoon([this] { return temperatureScale() == "0"; },
               [this] {
                   expectChange({{"MeasurementSystem", "Metric"}});
                   expectChange({{"MeasurementSystem", "Imperial"}});
               });
}

TEST_F(DeviceOutage, AnXServerThatIsGoneTakesTheNextChangeWhenItIsBack) {
    killXServer();
    expectChange(
        {{"BacklightOff", "Off After 1 Minute"}, {"ScreenBrightness", "2"}, {"Theme", "light"}});
    EXPECT_EQ(backlight(), std::to_string(2 * kStepsPerLevel));
    expectSuccess("00000", requestObject({{"Action", "WebGUI.TurnOffLCD"}}), kChangeBound);
    EXPECT_THAT(errors(), EndsWith("[LCDBlankTimeOutSet]: display " + environment().at("DISPLAY") +
                                   ": cannot connect to the X server\n"))
        << "one line for both calls";
    startXServer();
    loseThePanelsState();
    expectChange({{"BacklightOff", "Off After 1 Minute"}});
    EXPECT_EQ(blankTimeOut(), "600") << "the setting that it has already is not sent";
    expectChange({{"BacklightOff", "Off After 2 Minutes"}});
    expectBlankTimeOut("Off After 2 Minutes", "120");
    const auto turnOff = [this] {
        expectSuccess("00000", requestObject({{"Action", "WebGUI.TurnOffLCD"}}), kChangeBound);
    };
    turnOff();
    expectSoon([this] { return isBlank(); }, turnOff);
}

TEST_F(DeviceOutage, ASilentXServerHoldsNoRequestUp) {
    xServer().signal(SIGSTOP);
    expectChange({{"BacklightOff", "Off After 1 Minute"}, {"InactivityTimer", "5 Minutes"}});
    expectRead();
    EXPECT_THAT(errors(), HasSubstr("[LCDBlankTimeOutSet]: display "));
    xServer().signal(SIGCONT);
    expectBlankTimeOut("Off After 1 Minute", "60");
}

TEST_F(DeviceOutage, ABacklightThatIsGoneTakesTheNextChangeWhenItIsBack) {
    const std::filesystem::path panel = folder().path() / "backlight";
    const std::filesystem::path away = folder().path() / "away";
    std::filesystem::rename(panel, away);
    expectChange({{"ScreenBrightness", "2"},
                  {"BacklightOff", "Off After 1 Minute"},
                  {"InactivityTimer", "5 Minutes"}});
    expectChange({{"ScreenBrightness", "3"}});
    expectBlankTimeOut("Off After 1 Minute", "60");
    const std::string line =
        "[LCDBrightnessSet]: " + panel.string() + "/max_brightness: No such file or directory\n";
    EXPECT_THAT(errors(), HasSubstr(line));
    EXPECT_EQ(errors().find(line), errors().rfind(line)) << "one line for both calls";
    std::filesystem::rename(away, panel);
    expectChange({{"ScreenBrightness", "4"}});
    EXPECT_EQ(backlight(), std::to_string(4 * kStepsPerLevel));
}

TEST_F(DeviceOutage, ARestartBringsEveryDeviceUpToDate) {
    killCoolingUnit();
    killXServer();
    std::filesystem::rename(folder().path() / "backlight", folder().path() / "away");
    expectChange({{"ScreenBrightness", "2"},
                  {"BacklightOff", "Off After 1 Minute"},
                  {"MeasurementSystem", "Imperial"},
                  {"Theme", "light"}});
    std::filesystem::rename(folder().path() / "away", folder().path() / "backlight");
    startXServer();
    startCoolingUnit();
    const auto restart = [this] {
        EXPECT_EQ(stopDaemon(), 0);
        startDaemon();
    };
    restart();
    EXPECT_EQ(backlight(), std::to_string(2 * kStepsPerLevel));
    expectSoon([this] { return blankTimeOut() == "60"; }, restart);
    expectMeasurementSystem("Imperial");
    expectRead();
    expectMeasurementSystem("Metric");
}

} // namespace
