#include "tests/orvanectl/fixture.h"

namespace test {
namespace {

using testing::HasSubstr;
using Action = WithProvider;

TEST_F(Action, SendsItsNameAndTargetInARequestObject) {
    const Finished finished = orvanectl({"action", "turn-off-lcd"});
    EXPECT_EQ(finished.status, 0) << finished.error;
    EXPECT_EQ(finished.output, "turn-off-lcd  Success\n");
    EXPECT_EQ(orvanectl({"action", "gui-ready"}).status, 0);
    const auto received = provider.received();
    ASSERT_EQ(received.size(), 2U);
    EXPECT_EQ(received[0].messageId, "00000");
    EXPECT_EQ(received[0].object,
              (std::map<std::string, std::string>{{"OriginalObjID", StandInProvider::kInstance},
                                                  {"Action", "WebGUI.TurnOffLCD"}}));
    EXPECT_EQ(received[1].object.at("Action"), "WebGUI.GUIReady");
    EXPECT_EQ(keysLike("Request:"), "");
}

TEST_F(Action, PrintsTheAnswerAsJson) {
    provider.behave({.messageId = "ActionNotSupported", .arguments = {"WebGUI.GUIReady"}});
    const Finished finished = orvanectl({"action", "gui-ready", "--json"});
    EXPECT_EQ(finished.status, 1);
    const auto json = nlohmann::json::parse(finished.output);
    EXPECT_EQ(json.at("action"), "gui-ready");
    EXPECT_EQ(json.at("MessageId"), "ActionNotSupported");
    EXPECT_EQ(json.at("MessageArgs"), nlohmann::json({"WebGUI.GUIReady"}));
}

TEST_F(Action, NamesTheActionsThereAre) {
    const Finished finished = orvanectl({"action", "TurnOffLCD"});
    EXPECT_EQ(finished.status, 2);
    EXPECT_THAT(finished.error, HasSubstr("turn-off-lcd"));
    EXPECT_THAT(finished.error, HasSubstr("gui-ready"));
}

// The provider writes into the request object just before it answers: what it writes after
// the client gave up must not stay for ever.
TEST_F(Action, LeavesNothingLastingWhenTheProviderAnswersTooLate) {
    provider.behave({.work = std::chrono::milliseconds(300)});
    EXPECT_EQ(orvanectl({"action", "turn-off-lcd", "--timeout", "0.05"}).status, 3);
    ASSERT_TRUE(waitUntil([this] { return !keysLike("answer-").empty(); }));
    const std::string key = keysLike("Request:");
    ASSERT_NE(key, "");
    EXPECT_EQ(server.command({"HGET", key, "Action"}), "(nil)");
    const int life = std::stoi(server.command({"PTTL", key}));
    EXPECT_GT(life, 0);
    EXPECT_LE(life, 5000);
}

} // namespace
} // namespace test
