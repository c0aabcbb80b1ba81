// The command-line client against the real daemon: what a person at a terminal relies on.
#include "tests/end_to_end/devices.h"

namespace {

using test::Finished;
using test::kWebGui;

class Orvanectl : public test::EndToEndWithDevices {};

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST_F(Orvanectl, StatusShowsWhetherTheProviderAnswers) {
    const Finished up = orvanectl({"status"});
    EXPECT_EQ(up.status, 0) << up.output << up.error;
    EXPECT_EQ(stopDaemon(), 0);
    EXPECT_EQ(orvanectl({"status"}).status, 3);
    EXPECT_EQ(orvanectl({"get"}).status, 3);
}

TEST_F(Orvanectl, SetChangesTheNamedSettingsAndKeepsTheOthers) {
    const Finished set = orvanectl({"set", "ScreenBrightness=2", "Theme=light"});
    EXPECT_EQ(set.status, 0) << set.output << set.error;
    EXPECT_EQ(setting("Brightness"), "2");
    EXPECT_EQ(backlight(), std::to_string(2 * kStepsPerLevel));
    EXPECT_EQ(storedTheme(), "light");
    EXPECT_EQ(setting("DateFormat"), "YYYY-MM-DD");
    EXPECT_EQ(setting("BacklightOff"), "Never");
    EXPECT_EQ(eventCount(), 1) << "one request for both";
    const Finished get = orvanectl({"get", "ScreenBrightness", "Theme", "DateFormat"});
    EXPECT_EQ(get.status, 0) << get.error;
    EXPECT_EQ(get.output, "ScreenBrightness  2\n"
                          "Theme             light\n"
                          "DateFormat        YYYY-MM-DD\n");
}

TEST_F(Orvanectl, SetReachesEveryMessageIdOfOneCommand) {
    const Finished set =
        orvanectl({"set", "Language=Deutsch", "InitialBoot=false", "TimeFormat=12 Hours"});
    EXPECT_EQ(set.status, 0) << set.output << set.error;
    EXPECT_EQ(setting("Language"), "Deutsch");
    EXPECT_EQ(setting("InitBoot"), "false");
    EXPECT_EQ(setting("TimeFormat"), "12 Hours");
}

TEST_F(Orvanectl, AValueThatIsNotAllowedIsSentOnlyWhenForced) {
    const Finished refused = orvanectl({"set", "ScreenBrightness=9"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_TRUE(contains(refused.error, "9")) << refused.error;
    EXPECT_EQ(eventCount(), 0);
    EXPECT_EQ(orvanectl({"set", "--force", "ScreenBrightness=9"}).status, 0);
    EXPECT_TRUE(contains(output(), "[setScreenBrightness]: Incorrect screen brightness(9).\n"));
}

// Each client reads all properties before it writes them all. Without the lease, one of the two
// changes would be lost in most rounds.
TEST_F(Orvanectl, TwoClientsAtTheSameMomentLoseNoChange) {
    for (int round = 0; round < 5; ++round) {
        const std::string text = "round " + std::to_string(round);
        test::ChildProcess first({ORVANE_CTL, "set", "DateFormat=" + text}, environment(),
                                 folder().file("first"), folder().file("first"));
        test::ChildProcess second({ORVANE_CTL, "set", "HiLoPeriod=" + text}, environment(),
                                  folder().file("second"), folder().file("second"));
        EXPECT_EQ(first.wait(), 0) << test::readFile(folder().file("first"));
        EXPECT_EQ(second.wait(), 0) << test::readFile(folder().file("second"));
        EXPECT_EQ(setting("DateFormat"), text);
        EXPECT_EQ(setting("HiLoPeriod"), text);
    }
}

TEST_F(Orvanectl, EventsNamesTheInstanceThatAnUpdateChanged) {
    EXPECT_EQ(orvanectl({"set", "Theme=light"}).status, 0);
    const Finished events = orvanectl({"events", "--since", "0", "--count", "1"});
    EXPECT_EQ(events.status, 0) << events.error;
    EXPECT_TRUE(contains(events.output, "ResourceUpdated")) << events.output;
    EXPECT_TRUE(contains(events.output, kWebGui)) << events.output;
}

TEST_F(Orvanectl, BothActionsAct) {
    test::writeFile(temporary("buzzer.silence"), "");
    EXPECT_EQ(orvanectl({"action", "gui-ready"}).status, 0);
    EXPECT_FALSE(std::filesystem::exists(temporary("buzzer.silence")));
    EXPECT_EQ(orvanectl({"action", "turn-off-lcd"}).status, 0);
    EXPECT_TRUE(isBlank());
}

TEST_F(Orvanectl, ARawRequestShowsTheReturnMessage) {
    const Finished refused = orvanectl({"request", "00001", "no-such-key"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(contains(refused.output, "InvalidObject")) << refused.output;
    EXPECT_TRUE(contains(refused.output, "no-such-key")) << refused.output;
}

TEST_F(Orvanectl, ProvisioningAgainDisturbsNothing) {
    const Finished again = orvanectl({"provision"});
    EXPECT_EQ(again.status, 0) << again.error;
    EXPECT_EQ(ask("00001", kWebGui).messageId, "Success");
    EXPECT_EQ(redis().command({"LRANGE", collectionKey(), "0", "-1"}), kWebGui);
}

} // namespace
