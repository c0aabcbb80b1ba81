// Routing and refusing requests: service/hook_function.cpp.
#include "service/hook_function.h"
#include "tests/service/service_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class HookFunction : public service_test::ServiceTest {
protected:
    static void call(std::string msgId, std::string reqArg = "Request:1",
                     std::string replyChannel = service_test::kChannel) {
        OrvaneWebGUI_OVRHookFunction(msgId.data(), reqArg.data(), replyChannel.data());
    }
    static void expectEmptyQueues() {
        for (const auto& queue : doubles::host().queues) {
            EXPECT_TRUE(queue.empty());
        }
    }
};

TEST_F(HookFunction, PostsEachKindOfRequestToItsWorker) {
    const std::pair<const char*, const char*> routes[] = {{"00001", "fnRead"},
                                                          {"00002", "fnUpdate"},
                                                          {"00003", "fnUpdate"},
                                                          {"00004", "fnUpdate"},
                                                          {"00000", "fnCreate"}};
    for (const auto& [msgId, function] : routes) {
        call(msgId, "argument", "channel");
        EXPECT_THAT(doubles::calls(),
                    ElementsAre("ovrThreadInstructionPost(lockPost, {\"" + std::string(msgId) +
                                "\", \"argument\", \"channel\"}, " + function + ")"));
    }
    EXPECT_EQ(output() + errors(), "");
}

TEST_F(HookFunction, PassesEmptyAndLongTextsOnUnchanged) {
    const std::string longText(5000, 'x');
    call("00001", "", longText);
    const auto& queue = doubles::host().queues[fnRead];
    ASSERT_EQ(queue.size(), 1U);
    EXPECT_EQ(queue.front(), RequestTriple("00001", "", longText));
}

TEST_F(HookFunction, RefusesAnyOtherMessageIdAtOnce) {
    for (const char* msgId : {"0001", "00001 ", "1", "", "00005", "00010", " 00001", "000001",
                              "abcde", "99999", "ActionNotSupported"}) {
        const std::string uuid = doubles::uuid(1);
        doubles::reset();
        doubles::context();
        call(msgId);
        EXPECT_THAT(doubles::calls(),
                    ElementsAre("osselGenerateUUID(ctx)",
                                "osselCreateReturnMessage(ctx, \"" + uuid +
                                    "\", \"ActionNotSupported\", \"" + msgId + "\", null)",
                                "osselPublishToChannel(ctx, \"Reply:1\", \"" + uuid + "\")"));
        EXPECT_EQ(output(), "[OrvaneWebGUI_OVRHookFunction]: The msgId is invalid: " +
                                std::string(msgId) + ".\n");
        EXPECT_EQ(errors(), "");
        expectEmptyQueues();
    }
}

TEST_F(HookFunction, LogsNoForgedLineForAMessageIdOfControlCharacters) {
    call("0\n[main]: All is well.\x1b[2J");
    EXPECT_EQ(output(), "[OrvaneWebGUI_OVRHookFunction]: The msgId is invalid: "
                        "0\\x0a[main]: All is well.\\x1b[2J.\n");
    EXPECT_THAT(doubles::callsOf("osselCreateReturnMessage"), // unchanged in the answer
                ElementsAre(testing::HasSubstr("\"0\n[main]: All is well.\x1b[2J\", null")));
}

TEST_F(HookFunction, LogsARefusalThatCannotBePublishedAndDoesNotRetry) {
    doubles::fail("osselPublishToChannel", 3);
    call("99999");
    EXPECT_EQ(output(), "[OrvaneWebGUI_OVRHookFunction]: The msgId is invalid: 99999.\n"
                        "[sendReturnMsg]: Failed to call osselPublishToChannel( Reply:1, " +
                            doubles::uuid(1) +
                            " ).\n"
                            "[OrvaneWebGUI_OVRHookFunction]: Failed to call sendReturnMsg().\n");
    EXPECT_EQ(doubles::callsOf("osselPublishToChannel").size(), 1U);
}

TEST_F(HookFunction, LogsARefusalThatCannotBeStored) {
    doubles::fail("osselCreateReturnMessage", 3);
    call("99999");
    EXPECT_EQ(output(), "[OrvaneWebGUI_OVRHookFunction]: The msgId is invalid: 99999.\n"
                        "[sendReturnMsg]: Failed to call osselCreateReturnMessage( " +
                            doubles::uuid(1) +
                            ", ActionNotSupported ).\n"
                            "[OrvaneWebGUI_OVRHookFunction]: Failed to call sendReturnMsg().\n");
    EXPECT_THAT(doubles::callsOf("osselPublishToChannel"), IsEmpty());
}

TEST_F(HookFunction, RefusesOnANullConnectionWithoutACrash) {
    G_Plugin.m_redis = nullptr;
    call("99999");
    EXPECT_THAT(doubles::calls(), ElementsAre("osselGenerateUUID(null)"));
    EXPECT_THAT(output(), testing::EndsWith("[OrvaneWebGUI_OVRHookFunction]: Failed to call "
                                            "sendReturnMsg().\n"));
}

TEST_F(HookFunction, InsertsANullBindingForAnAbsentId) {
    G_Plugin.m_bindings.clear();
    call("99999");
    EXPECT_THAT(G_Plugin.m_bindings, ElementsAre(Pair(100U, nullptr)));
}

TEST_F(HookFunction, OnlyPosts) {
    call("00003");
    EXPECT_EQ(doubles::calls().size(), 1U);
    EXPECT_EQ(doubles::host().queues[fnUpdate].size(), 1U);
}

} // namespace
