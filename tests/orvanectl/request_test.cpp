#include "tests/orvanectl/fixture.h"

namespace test {
namespace {

using testing::HasSubstr;
using Request = WithProvider;

TEST_F(Request, SendsTheTripleAsGivenAndPrintsTheReturnMessage) {
    provider.behave({.messageId = "ActionNotSupported", .arguments = {"12345", "second"}});
    const Finished finished = orvanectl({"request", "12345", "some \"key\""});
    EXPECT_EQ(finished.status, 1);
    EXPECT_EQ(finished.output, "MessageId      ActionNotSupported\n"
                               "MessageArgs.0  12345\n"
                               "MessageArgs.1  second\n");
    const auto received = provider.received();
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].messageId, "12345");
    EXPECT_EQ(received[0].argument, "some \"key\"");
    EXPECT_TRUE(received[0].object.empty());
}

TEST_F(Request, EndsWith0OnSuccess) {
    const Finished finished = orvanectl({"request", "00001", StandInProvider::kInstance});
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(finished.output, "MessageId  Success\n");
}

TEST_F(Request, PrintsTheReturnMessageAsJson) {
    provider.behave({.messageId = "InvalidObject", .arguments = {"x"}});
    const Finished finished = orvanectl({"--json", "request", "00001", "x"});
    EXPECT_EQ(finished.status, 1);
    const auto json = nlohmann::json::parse(finished.output);
    EXPECT_EQ(json.at("MessageId"), "InvalidObject");
    EXPECT_EQ(json.at("MessageArgs"), nlohmann::json({"x"}));
}

TEST_F(Request, StoresARequestObjectThatExpiresAndTakesItAwayAgain) {
    const Finished finished = orvanectl({"request", "00002", "MyRequest", "--field",
                                         std::string("OriginalObjID=") + StandInProvider::kInstance,
                                         "--field", "Language=a=b c"});
    EXPECT_EQ(finished.status, 0) << finished.error;
    const auto received = provider.received();
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].object.at("Language"), "a=b c");
    EXPECT_GT(received[0].objectLife, 10'000);
    EXPECT_LE(received[0].objectLife, 70'000);
    EXPECT_EQ(keysLike("MyRequest"), "");
    EXPECT_EQ(field("Language"), "a=b c");
}

TEST_F(Request, NeverOverwritesAKeyWithARequestObject) {
    const Finished finished =
        orvanectl({"request", "00002", StandInProvider::kInstance, "--field", "Language=x"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.error, HasSubstr("exists already; choose another one"));
    EXPECT_EQ(field("Language"), "English");
    EXPECT_EQ(server.command({"PTTL", StandInProvider::kInstance}), "-1");
    EXPECT_EQ(provider.receivedCount(), 0U);
}

TEST_F(Request, TakesTheFirstOfSeveralAnswers) {
    provider.behave({.times = 2});
    EXPECT_EQ(orvanectl({"request", "00001", "x"}).status, 0);
}

TEST_F(Request, TakesALateAnswerWithinTheTimeout) {
    provider.behave({.delay = std::chrono::milliseconds(300)});
    EXPECT_EQ(orvanectl({"request", "00001", "x", "--timeout", "20"}).status, 0);
}

TEST_F(Request, EndsWith3AndTakesItsObjectAwayWhenTheProviderDies) {
    provider.behave({.diesUnanswered = true});
    const Finished finished =
        orvanectl({"request", "00002", "MyRequest", "--field", "a=b", "--timeout", "0.2"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.error, HasSubstr("no answer on channel"));
    EXPECT_EQ(provider.receivedCount(), 1U);
    EXPECT_EQ(keysLike("MyRequest"), "");
}

TEST_F(Request, RefusesWhatIsNotUtf8AndSendsNothing) {
    const Finished finished = orvanectl({"request", "00001", "\xff"});
    EXPECT_EQ(finished.status, 2);
    EXPECT_THAT(finished.error, HasSubstr("must be UTF-8"));
    EXPECT_EQ(provider.receivedCount(), 0U);
}

TEST_F(Request, RefusesAFieldWithoutAName) {
    for (const std::string text : {"novalue", "=x"}) {
        const Finished finished = orvanectl({"request", "00001", "x", "--field", text});
        EXPECT_EQ(finished.status, 2);
        EXPECT_THAT(finished.error, HasSubstr("\"" + text + "\" is not NAME=VALUE; write e.g. "));
    }
}

} // namespace
} // namespace test
