#include "tests/orvanectl/fixture.h"

namespace test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using Status = WithProvider;
using StatusAlone = OrvanectlTest;

TEST_F(Status, TellsEachStepAndEndsWith0WhenTheProviderAnswers) {
    const Finished finished = orvanectl({"status"});
    EXPECT_EQ(finished.status, 0) << finished.error;
    EXPECT_THAT(finished.output, HasSubstr("store       up   " + server.address() + "\n"));
    EXPECT_THAT(finished.output, HasSubstr("registered  yes  OrvaneWebGUI\n"));
    EXPECT_THAT(finished.output, ContainsRegex("listening   yes  1 listener, for [0-9]+ s\n"));
    EXPECT_THAT(finished.output, ContainsRegex("answering   yes  Success in [0-9]+ us\n"));
}

TEST_F(Status, TellsTheSameAsJson) {
    const auto json = nlohmann::json::parse(orvanectl({"status", "--json"}).output);
    EXPECT_EQ(json.at("store").at("address"), server.address());
    EXPECT_EQ(json.at("registered").at("channel"), "OrvaneWebGUI");
    EXPECT_EQ(json.at("listening").at("listeners"), 1);
    EXPECT_GE(json.at("listening").at("seconds"), 0);
    EXPECT_GT(json.at("listening").at("since"), 0);
    EXPECT_EQ(json.at("answering").at("MessageId"), "Success");
    for (const auto& step : json) {
        EXPECT_TRUE(step.at("ok").get<bool>());
    }
}

TEST_F(Status, ReallyReadsAlthoughTheInstanceIsFresh) {
    server.command({"SET", std::string("TTL:") + StandInProvider::kInstance, "1", "EX", "100"});
    orvanectl({"status"});
    EXPECT_EQ(provider.receivedCount(), 1U);
}

TEST_F(Status, EndsWith1WhenTheReadIsAnsweredOtherwise) {
    provider.behave({.messageId = "InternalError"});
    const Finished finished = orvanectl({"status"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_THAT(finished.output, ContainsRegex("answering   no   InternalError in [0-9]+ us"));
}

TEST_F(Status, EndsWith3WhenThereIsNoAnswer) {
    provider.behave({.times = 0});
    const Finished finished = orvanectl({"status", "--timeout", "0.2"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.output, HasSubstr("listening   yes"));
    EXPECT_THAT(finished.output, HasSubstr("answering   no   no answer on channel"));
}

TEST_F(Status, EndsWith3WhenNobodyListens) {
    provider.stopListening();
    ASSERT_TRUE(waitUntil([this] {
        return server.command({"PUBSUB", "NUMSUB", "OrvaneWebGUI"}) == "OrvaneWebGUI 0";
    }));
    const Finished finished = orvanectl({"status", "--json"});
    EXPECT_EQ(finished.status, 3);
    const auto json = nlohmann::json::parse(finished.output);
    EXPECT_TRUE(json.at("registered").at("ok").get<bool>());
    EXPECT_FALSE(json.at("listening").at("ok").get<bool>());
    EXPECT_FALSE(json.contains("answering"));
}

TEST_F(StatusAlone, EndsWith3WhenTheSchemaIsNotProvisioned) {
    const Finished finished = orvanectl({"status"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.output, HasSubstr("registered  no"));
    EXPECT_THAT(finished.output, HasSubstr("run orvanectl provision"));
}

TEST_F(StatusAlone, EndsWith3WhenNoProviderIsRegistered) {
    orvanectl({"provision"});
    const Finished finished = orvanectl({"status"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.output, HasSubstr("store       up"));
    EXPECT_THAT(finished.output, HasSubstr("registered  no"));
    EXPECT_THAT(finished.output, HasSubstr("start the provider"));
}

TEST_F(StatusAlone, EndsWith3WhenTheStoreIsDown) {
    server.stop();
    const Finished finished = orvanectl({"status"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.output, ContainsRegex("^store  no  store unix:.*: cannot connect: "));
    EXPECT_EQ(finished.error, "");
}

} // namespace
} // namespace test
