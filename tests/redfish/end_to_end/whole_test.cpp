// The whole product from the outside: curl and redfishtool, the service, the store, the real daemon
// and its devices.
#include "redfish/model/addresses.h"
#include "tests/end_to_end/devices.h"
#include "tests/redfish/end_to_end/redfish_process.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

const std::string kSettings(redfish::model::kWebGui);

class TheWhole : public test::EndToEndWithDevices {
protected:
    void SetUp() override {
        test::EndToEndWithDevices::SetUp();
        service = std::make_unique<test::RedfishProcess>(redis().address());
    }
    // A client that is not ours.
    test::Finished redfishtool(const std::vector<std::string>& words) const {
        std::vector<std::string> command{"redfishtool", "-r", service->authority(),     "-u",
                                         "admin",       "-p", service->firstPassword(), "-S",
                                         "Always"};
        command.insert(command.end(), words.begin(), words.end());
        return test::run(command);
    }

    std::unique_ptr<test::RedfishProcess> service;
};

TEST_F(TheWhole, IsReadChangedAndActedOnByRedfishtool) {
    const test::Finished read = redfishtool({"raw", "GET", kSettings});
    EXPECT_EQ(read.status, 0) << read.error;
    EXPECT_THAT(read.output, HasSubstr("\"ScreenBrightness\": 5"));
    const test::Finished changed =
        redfishtool({"raw", "PATCH", kSettings, "-d", R"({"ScreenBrightness": 2})"});
    EXPECT_EQ(changed.status, 0) << changed.error;
    EXPECT_EQ(backlight(), std::to_string(2 * kStepsPerLevel));
    EXPECT_EQ(setting("Brightness"), "2");
    EXPECT_FALSE(isBlank());
    const test::Finished acted =
        redfishtool({"raw", "POST", std::string(redfish::model::kTurnOffLcdTarget), "-d", "{}"});
    EXPECT_EQ(acted.status, 0) << acted.error;
    EXPECT_TRUE(isBlank());
    EXPECT_EQ(redfishtool({"-A", "Session", "raw", "GET", kSettings}).status, 0);
    EXPECT_EQ(redfishtool({"Managers"}).status, 0);
    EXPECT_NE(redfishtool({"raw", "PATCH", kSettings, "-d", R"({"ScreenBrightness": 9})"}).status,
              0);
}

TEST_F(TheWhole, ShowsTheNewValuesRightAfterAChange) {
    for (const std::string brightness : {"1", "7", "3"}) {
        const test::HttpAnswer changed =
            service->send("PATCH", kSettings,
                          R"({"ScreenBrightness":)" + brightness + R"(,"Language":"Deutsch"})");
        EXPECT_EQ(changed.status, 200);
        EXPECT_THAT(changed.body, HasSubstr("\"ScreenBrightness\":" + brightness));
        EXPECT_THAT(service->ask("GET", kSettings).body,
                    HasSubstr("\"ScreenBrightness\":" + brightness));
    }
}

TEST_F(TheWhole, LosesNoneOfTwoChangesAtTheSameMoment) {
    const auto patch = [this](const std::string& body) {
        return std::make_unique<test::ChildProcess>(
            service->curl("PATCH", kSettings,
                          {"--header", "Content-Type: application/json", "--data", body, "--output",
                           "/dev/null"}));
    };
    const auto one = patch(R"({"DateFormat":"DD.MM.YYYY"})");
    const auto other = patch(R"({"HiLoPeriod":"12 Hours"})");
    EXPECT_EQ(one->wait(), 0);
    EXPECT_EQ(other->wait(), 0);
    const std::string body = service->ask("GET", kSettings).body;
    EXPECT_THAT(body, HasSubstr(R"("DateFormat":"DD.MM.YYYY")"));
    EXPECT_THAT(body, HasSubstr(R"("HiLoPeriod":"12 Hours")"));
}

TEST_F(TheWhole, AnswersUnavailableUntilTheDaemonIsBack) {
    EXPECT_EQ(service->ask("GET", kSettings).status, 200);
    EXPECT_EQ(stopDaemon(), 0);
    EXPECT_EQ(service->ask("GET", kSettings).status, 503);
    startDaemon();
    EXPECT_EQ(service->ask("GET", kSettings).status, 200);
}

} // namespace
