// Settings that act on the LCD panel at once: agent/display_control.cpp.
#include "tests/agent/agent_fixture.h"

#include <limits>

namespace {

using agent_test::alertCheckThen;
using agent_test::kPause;
using agent_test::updateCall;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

struct Choice {
    const char* text;
    int seconds;
};
constexpr Choice kChoices[] = {
    {"Off After 1 Minute", 60},   {"Off After 2 Minutes", 120}, {"Off After 3 Minutes", 180},
    {"Off After 4 Minutes", 240}, {"Off After 5 Minutes", 300}, {"Never", 0},
};

constexpr const char* kUnknownChoices[] = {"never",
                                           "off after 1 minute",
                                           "",
                                           "Never ",
                                           " Never",
                                           "Off After 1 Minutes",
                                           "Off After 6 Minutes",
                                           "Neve",
                                           "Nevers",
                                           "OffAfter1Minute",
                                           "60"};

std::string timeOut(int seconds) {
    return "LCDBlankTimeOutSet(" + std::to_string(seconds) + ")";
}

class Display : public agent_test::AgentTest {
protected:
    static WebGUIAgent& agent() { return *G_WebGUIAgent; }
};

class ScreenBrightness : public Display {};
class BacklightOff : public Display {};
class TurnOffLcd : public Display {};

// --- Brightness -----------------------------------------------------------------------

TEST_F(ScreenBrightness, OfOneToSevenGoesToThePanelAndIsStored) {
    start();
    for (const int level : {1, 2, 3, 4, 5, 6, 7}) {
        agent().setScreenBrightness(level);
        EXPECT_THAT(doubles::calls(),
                    ElementsAre("LCDBrightnessSet(" + std::to_string(level) + ")"));
        EXPECT_EQ(agent().getScreenBrightness(), level);
    }
    EXPECT_EQ(output() + errors(), "");
}

TEST_F(ScreenBrightness, EqualToTheStoredOneMakesNoCall) {
    start();
    agent().setScreenBrightness(5);
    EXPECT_THAT(doubles::calls(), IsEmpty());
    EXPECT_EQ(output(), "");
}

TEST_F(ScreenBrightness, OutOfRangeIsLoggedInDecimalAndChangesNothing) {
    start();
    for (const bool hexadecimal : {false, true}) {
        hexadecimal ? hexStream() : decimalStream();
        for (const int level : {0, 8, -1, 9, 16, 255, std::numeric_limits<int>::max(),
                                std::numeric_limits<int>::min()}) {
            agent().setScreenBrightness(level);
            EXPECT_EQ(output(), "[setScreenBrightness]: Incorrect screen brightness(" +
                                    std::to_string(level) + ").\n");
            EXPECT_EQ(agent().getScreenBrightness(), 5) << level;
        }
    }
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

TEST_F(ScreenBrightness, OutOfRangeIsRefusedEvenWhenItIsTheStoredOne) {
    doubles::setSetting("Brightness", "9");
    start();
    agent().setScreenBrightness(9);
    EXPECT_EQ(output(), "[setScreenBrightness]: Incorrect screen brightness(9).\n");
    EXPECT_EQ(agent().getScreenBrightness(), 9);
}

TEST_F(ScreenBrightness, IsStoredWhenThePanelFails) {
    start();
    doubles::failAlways("LCDBrightnessSet", -1);
    agent().setScreenBrightness(3);
    EXPECT_EQ(agent().getScreenBrightness(), 3);
    EXPECT_EQ(output() + errors(), "");
}

// --- BacklightOff ---------------------------------------------------------------------

TEST_F(BacklightOff, SelectsTheTimeOutOfEachChoice) {
    start();
    for (const Choice& choice : kChoices) {
        EXPECT_EQ(agent().setBacklightOff(choice.text), 1) << choice.text;
        EXPECT_THAT(doubles::calls(), ElementsAreArray(alertCheckThen({timeOut(choice.seconds)})));
        EXPECT_EQ(agent().getBacklightOff(), choice.text);
    }
    EXPECT_EQ(output() + errors(), "");
}

TEST_F(BacklightOff, OfAnyOtherTextIsLoggedAndStaysStored) {
    start();
    for (const char* text : kUnknownChoices) {
        EXPECT_EQ(agent().setBacklightOff(text), 0) << text;
        EXPECT_THAT(doubles::calls(), ElementsAreArray(alertCheckThen({}))) << text;
        EXPECT_EQ(output(), "[setBacklightOff]: Failed to call setLCDBacklightOff().\n") << text;
        EXPECT_EQ(agent().getBacklightOff(), text);
        EXPECT_EQ(agent().updateData(0), 1);
        EXPECT_THAT(doubles::calls(), ElementsAre(updateCall({{"BacklightOff", text}}), kPause));
    }
}

TEST_F(BacklightOff, EqualToTheStoredOneDoesNothingAtAll) {
    start();
    EXPECT_EQ(agent().setBacklightOff("Never"), 0);
    EXPECT_THAT(doubles::calls(), IsEmpty());
    EXPECT_EQ(output(), "");
}

TEST_F(BacklightOff, UnknownAndEqualToTheStoredOneIsSilent) {
    start();
    agent().setBacklightOff("unknown");
    output();
    doubles::calls();
    EXPECT_EQ(agent().setBacklightOff("unknown"), 0);
    EXPECT_EQ(output(), "");
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

TEST_F(BacklightOff, IsStoredButNotAppliedWhileAnAlertIsShown) {
    start();
    doubles::setSetting("HasAlert", "YES");
    for (const char* text : {"Off After 1 Minute", "unknown"}) {
        EXPECT_EQ(agent().setBacklightOff(text), 1) << text;
        EXPECT_THAT(doubles::calls(), ElementsAreArray(alertCheckThen({}))) << text;
        EXPECT_EQ(output(), "") << text;
        EXPECT_EQ(agent().getBacklightOff(), text);
    }
}

TEST_F(BacklightOff, IsNotAppliedByItselfWhenTheAlertEnds) {
    start();
    doubles::setSetting("HasAlert", "YES");
    agent().setBacklightOff("Off After 1 Minute");
    doubles::setSetting("HasAlert", "NO");
    doubles::calls();
    EXPECT_EQ(agent().setBacklightOff("Off After 1 Minute"), 0);
    EXPECT_THAT(doubles::calls(), IsEmpty());
    EXPECT_EQ(agent().setBacklightOff("Off After 2 Minutes"), 1);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(alertCheckThen({timeOut(120)})));
}

TEST_F(BacklightOff, CountsAsAppliedWhenThePanelFails) {
    start();
    doubles::failAlways("LCDBlankTimeOutSet", -1);
    EXPECT_EQ(agent().setBacklightOff("Off After 1 Minute"), 1);
    EXPECT_EQ(output() + errors(), "");
}

TEST_F(BacklightOff, AppliesAloneWhatIsStored) {
    for (const Choice& choice : kChoices) {
        doubles::setSetting("BacklightOff", choice.text);
        start();
        EXPECT_EQ(agent().applyBacklightOff(), 1);
        EXPECT_THAT(doubles::calls(), ElementsAre(timeOut(choice.seconds)));
    }
    for (const char* text : kUnknownChoices) {
        doubles::setSetting("BacklightOff", text);
        start();
        EXPECT_EQ(agent().applyBacklightOff(), 0) << text;
        EXPECT_THAT(doubles::calls(), IsEmpty()) << text;
        EXPECT_EQ(output(), "") << text;
    }
}

// --- TurnOffLCD -----------------------------------------------------------------------

TEST_F(TurnOffLcd, BlanksThePanel) {
    start();
    EXPECT_EQ(agent().turnOffLCD(), 1);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(alertCheckThen({"LCDBlank(0)"})));
}

TEST_F(TurnOffLcd, LeavesThePanelLitWhileAnAlertIsShownAndSucceeds) {
    start();
    doubles::setSetting("HasAlert", "YES");
    EXPECT_EQ(agent().turnOffLCD(), 1);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(alertCheckThen({})));
}

TEST_F(TurnOffLcd, SucceedsWhenThePanelFails) {
    start();
    doubles::failAlways("LCDBlank", -1);
    EXPECT_EQ(agent().turnOffLCD(), 1);
    EXPECT_EQ(output() + errors(), "");
}

} // namespace
