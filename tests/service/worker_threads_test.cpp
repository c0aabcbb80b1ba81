// The three workers with their real handlers: service/worker_threads.cpp.
#include "agent/handler_tables.h"
#include "agent/webgui_agent.h"
#include "service/worker_threads.h"
#include "tests/service/service_fixture.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <map>
#include <set>
#include <stdexcept>
#include <thread>

namespace {

using service_test::Calls;
using service_test::kChannel;
using service_test::kInstance;
using testing::ElementsAre;
using testing::IsEmpty;

struct Body {
    const char* name;
    doubles::WorkerBody body;
    fnTypes function;
    const char* functionName;
};
constexpr Body kBodies[] = {
    {"OrvaneWebGUI_CreateObject", OrvaneWebGUI_CreateObject, fnCreate, "fnCreate"},
    {"OrvaneWebGUI_ReadObject", OrvaneWebGUI_ReadObject, fnRead, "fnRead"},
    {"OrvaneWebGUI_UpdateObject", OrvaneWebGUI_UpdateObject, fnUpdate, "fnUpdate"},
};

std::string take(const char* functionName) {
    return "ovrThreadInstructionPost(lockTake, " + std::string(functionName) + ")";
}

class WorkerThreads : public service_test::ServiceTest {
protected:
    WorkerThreads() {
        G_ManagingMode = 0;
        doubles::hashes()[kInstance] = {{"MeasurementSystem", "Metric"}, {"Language", "English"}};
        storeRequest("Request:language", {{"Language", "Deutsch"}});
        storeRequest("Request:display", {{"ScreenBrightness", "2"},
                                         {"BacklightOff", "Off After 1 Minute"},
                                         {"MeasurementSystem", "Imperial"},
                                         {"RoomAverage", "true"},
                                         {"Theme", "light"},
                                         {"EventUserName", "operator"}});
        storeRequest("Request:boot", {{"InitialBoot", "true"}});
        storeRequest("Request:lcd", {{"Action", "WebGUI.TurnOffLCD"}});
        storeRequest("Request:ready", {{"Action", "WebGUI.GUIReady"}});
        startAgent();
    }
    ~WorkerThreads() override { G_ManagingMode = 2; }

    static void storeRequest(const std::string& key, doubles::Fields fields) {
        fields.emplace_back("OriginalObjID", kInstance);
        doubles::hashes()[key] = std::move(fields);
    }
    static void post(fnTypes function, const char* msgId, const std::string& reqArg,
                     const char* channel = kChannel) {
        doubles::host().queues.at(function).emplace_back(msgId, reqArg, channel);
    }
    // Serves the worker's queue and returns the answers.
    static Calls answersOf(doubles::WorkerBody body) {
        doubles::runWorker(body);
        return answersSent(doubles::calls());
    }
};

// --- The loop -------------------------------------------------------------------------

TEST_F(WorkerThreads, ConnectThenTakeRequestsOfTheirOwnKind) {
    for (const Body& each : kBodies) {
        doubles::reset();
        doubles::context();
        EXPECT_TRUE(doubles::runWorker(each.body).endedByHost) << each.name;
        EXPECT_THAT(doubles::calls(), ElementsAre("osselRedisConnect()", take(each.functionName),
                                                  "osselRedisDisconnect(ctx1)"));
        EXPECT_EQ(doubles::openConnections(), 0);
        EXPECT_EQ(output() + errors(), "");
    }
}

TEST_F(WorkerThreads, EndWithOneLineAndNullWhenTheyCannotConnect) {
    for (const Body& each : kBodies) {
        post(each.function, "00001", kInstance);
        doubles::fail("osselRedisConnect");
        const doubles::WorkerEnd end = doubles::runWorker(each.body);
        EXPECT_FALSE(end.endedByHost) << each.name;
        EXPECT_EQ(end.result, nullptr);
        EXPECT_THAT(doubles::calls(), ElementsAre("osselRedisConnect()"));
        EXPECT_EQ(output(),
                  "[" + std::string(each.name) + "]: Failed to call osselRedisConnect().\n");
        EXPECT_EQ(errors(), "");
        EXPECT_EQ(doubles::host().queues.at(each.function).size(), 1U); // never served
    }
}

TEST_F(WorkerThreads, InsertNoBindingWhenTheyCannotConnect) {
    G_Plugin.m_bindings.clear();
    for (const Body& each : kBodies) {
        doubles::fail("osselRedisConnect");
        doubles::runWorker(each.body);
    }
    EXPECT_THAT(G_Plugin.m_bindings, IsEmpty());
}

TEST_F(WorkerThreads, IgnoreTheirName) {
    for (const Body& each : kBodies) {
        EXPECT_TRUE(doubles::runWorker(each.body, "").endedByHost);
        EXPECT_EQ(output(), "");
    }
}

TEST_F(WorkerThreads, ServeRequestsInTheOrderOfTakingOnOneConnection) {
    post(fnUpdate, "00002", "Request:language", "Reply:1");
    post(fnUpdate, "00004", "Request:boot", "Reply:2");
    post(fnUpdate, "00002", "Request:none", "Reply:3");
    doubles::runWorker(OrvaneWebGUI_UpdateObject);
    const Calls calls = doubles::calls();
    EXPECT_EQ(std::ranges::count(calls, "osselRedisConnect()"), 1);
    EXPECT_EQ(std::ranges::count(calls, take("fnUpdate")), 4);
    EXPECT_THAT(answersSent(calls), ElementsAre("Reply:1: Success", "Reply:2: Success",
                                                "Reply:3: InvalidObject Request:none"));
    for (const std::string& call : calls) {
        EXPECT_EQ(call.find("(ctx,"), std::string::npos) << call; // not the plugin's connection
    }
}

TEST_F(WorkerThreads, GoOnAfterARequestThatFails) {
    doubles::fail("osselGenerateUUID");
    post(fnRead, "00001", kInstance, "Reply:1");
    post(fnRead, "00001", kInstance, "Reply:2");
    EXPECT_THAT(answersOf(OrvaneWebGUI_ReadObject), ElementsAre("Reply:2: Success"));
    EXPECT_THAT(output(), testing::EndsWith("[read]: Failed to call sendReturnMsg().\n"));
}

TEST_F(WorkerThreads, GiveEachRequestTheCurrentKeys) {
    post(fnRead, "00001", "later", "Reply:1");
    EXPECT_THAT(answersOf(OrvaneWebGUI_ReadObject), ElementsAre("Reply:1: InvalidObject later"));
    G_InstanceKeys.insert("later");
    G_ManagingMode = 1;
    post(fnRead, "00001", "later", "Reply:1");
    EXPECT_THAT(answersOf(OrvaneWebGUI_ReadObject), ElementsAre("Reply:1: Success"));
}

TEST_F(WorkerThreads, LeaveTheProcessWideKeysAndIdsAlone) {
    const InstanceKeySet keys = G_InstanceKeys;
    post(fnRead, "00001", kInstance);
    post(fnUpdate, "00003", "Request:display");
    post(fnCreate, "00000", "Request:lcd");
    post(fnCreate, "00002", "Request:language");
    for (const Body& each : kBodies) {
        doubles::runWorker(each.body);
    }
    EXPECT_EQ(G_InstanceKeys, keys);
    EXPECT_EQ(G_ResourceTypeIds.schemaTypeId, "schema-type");
    EXPECT_EQ(G_ResourceTypeIds.instanceCollectionKey, "collection");
}

TEST_F(WorkerThreads, LetExceptionsOfTheirHandlerOut) {
    doubles::duringPause() = [] { throw std::runtime_error("out of the handler"); };
    post(fnUpdate, "00002", "Request:language");
    EXPECT_THROW(doubles::runWorker(OrvaneWebGUI_UpdateObject), std::runtime_error);
    doubles::duringPause() = nullptr;
    EXPECT_EQ(doubles::openConnections(), 0);
}

// --- What each of them serves ---------------------------------------------------------

TEST_F(WorkerThreads, OfReadsServeTheReadTable) {
    post(fnRead, "00001", kInstance, "Reply:1");
    post(fnRead, "00001", "other", "Reply:2");
    post(fnRead, "00002", "Request:language", "Reply:3");
    EXPECT_THAT(answersOf(OrvaneWebGUI_ReadObject),
                ElementsAre("Reply:1: Success", "Reply:2: InvalidObject other",
                            "Reply:3: ActionNotSupported 00002"));
    EXPECT_EQ(doubles::freshness()[kInstance], 1);
}

TEST_F(WorkerThreads, OfUpdatesServeTheUpdateTable) {
    post(fnUpdate, "00002", "Request:language", "Reply:1");
    post(fnUpdate, "00003", "Request:display", "Reply:2");
    post(fnUpdate, "00004", "Request:boot", "Reply:3");
    post(fnUpdate, "00001", kInstance, "Reply:4");
    post(fnUpdate, "00000", "Request:lcd", "Reply:5");
    EXPECT_THAT(answersOf(OrvaneWebGUI_UpdateObject),
                ElementsAre("Reply:1: Success", "Reply:2: Success", "Reply:3: Success",
                            "Reply:4: ActionNotSupported 00001",
                            "Reply:5: ActionNotSupported 00000"));
    EXPECT_EQ(doubles::field(kInstance, "Language"), "Deutsch");
    EXPECT_EQ(doubles::field(kInstance, "EventUserName"), "operator");
    EXPECT_EQ(doubles::field(kInstance, "InitialBoot"), "true");
    EXPECT_EQ(doubles::freshness()[kInstance], 1);
    EXPECT_EQ(doubles::events().size(), 3U);
}

TEST_F(WorkerThreads, OfActionsServeTheActionTableAndNoCreation) {
    post(fnCreate, "00000", "Request:lcd", "Reply:1");
    post(fnCreate, "00000", "Request:ready", "Reply:2");
    storeRequest("Request:wrong", {{"Action", "#WebGUI.TurnOffLCD"}});
    post(fnCreate, "00000", "Request:wrong", "Reply:3");
    post(fnCreate, "00002", "Request:language", "Reply:4");
    post(fnCreate, "00001", kInstance, "Reply:5");
    EXPECT_THAT(answersOf(OrvaneWebGUI_CreateObject),
                ElementsAre("Reply:1: Success", "Reply:2: Success",
                            "Reply:3: ActionNotSupported #WebGUI.TurnOffLCD",
                            "Reply:4: ActionNotSupported 00002",
                            "Reply:5: ActionNotSupported 00001"));
    EXPECT_EQ(doubles::field("Request:lcd", "HasRespData"), "No");
    EXPECT_EQ(doubles::field(kInstance, "Language"), "English");
}

// --- Several workers at once ----------------------------------------------------------

// Blocks the first thread that pauses until it is released.
class WorkersAtOnce : public WorkerThreads {
protected:
    WorkersAtOnce() {
        doubles::duringPause() = [this] {
            if (!taken_.exchange(true)) {
                reached_.set_value();
                released_.get_future().wait();
            }
        };
    }

    std::promise<void> reached_;
    std::promise<void> released_;

private:
    std::atomic<bool> taken_ = false;
};

TEST_F(WorkersAtOnce, AReadIsServedAtOnceWhileAnUpdateIsRunning) {
    post(fnUpdate, "00002", "Request:language", "Reply:update");
    post(fnRead, "00001", kInstance, "Reply:read");
    std::thread update([] { doubles::runWorker(OrvaneWebGUI_UpdateObject); });
    reached_.get_future().wait();
    doubles::calls();
    doubles::runWorker(OrvaneWebGUI_ReadObject); // would hang if it waited for the update
    EXPECT_THAT(answersSent(doubles::calls()), ElementsAre("Reply:read: Success"));
    released_.set_value();
    update.join();
    EXPECT_THAT(answersSent(doubles::calls()), ElementsAre("Reply:update: Success"));
}

TEST_F(WorkersAtOnce, AReadInAnotherManagingModeIsServedAtOnceToo) {
    G_ManagingMode = 1;
    post(fnCreate, "00000", "Request:lcd", "Reply:action");
    post(fnRead, "00001", kInstance, "Reply:read");
    std::thread action([] { doubles::runWorker(OrvaneWebGUI_CreateObject); });
    reached_.get_future().wait();
    doubles::calls();
    doubles::runWorker(OrvaneWebGUI_ReadObject);
    EXPECT_THAT(answersSent(doubles::calls()), ElementsAre("Reply:read: Success"));
    released_.set_value();
    action.join();
}

TEST_F(WorkersAtOnce, TwoUpdatesNeverOverlap) {
    post(fnUpdate, "00002", "Request:language", "Reply:1");
    post(fnUpdate, "00004", "Request:boot", "Reply:2");
    std::thread update([] { doubles::runWorker(OrvaneWebGUI_UpdateObject); });
    reached_.get_future().wait();
    Calls calls = doubles::calls();
    EXPECT_EQ(std::ranges::count(calls, take("fnUpdate")), 1);
    EXPECT_EQ(std::ranges::count(calls, "usleep(200000)"), 1); // the first is inside its pause
    EXPECT_THAT(answersSent(calls), IsEmpty());
    released_.set_value();
    update.join();
    calls = doubles::calls();
    const auto secondTake = std::ranges::find(calls, take("fnUpdate"));
    EXPECT_THAT(answersSent(Calls(calls.begin(), secondTake)), ElementsAre("Reply:1: Success"));
    EXPECT_THAT(answersSent(Calls(secondTake, calls.end())), ElementsAre("Reply:2: Success"));
}

TEST_F(WorkersAtOnce, HaveOneConnectionEach) {
    released_.set_value();
    for (int i = 0; i < 20; ++i) {
        post(fnUpdate, "00002", "Request:language", "Reply:update");
        post(fnRead, "00001", kInstance, "Reply:read");
        post(fnCreate, "00000", "Request:lcd", "Reply:action");
    }
    std::vector<std::thread> threads;
    for (const Body& each : kBodies) {
        threads.emplace_back([&each] { doubles::runWorker(each.body); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const Calls calls = doubles::calls();
    std::map<std::string, std::set<std::string>> contexts; // by reply channel
    for (const std::string& call : calls) {
        if (call.starts_with("osselPublishToChannel(")) {
            contexts[call.substr(call.find('"'), 9)].insert(call.substr(0, call.find(',')));
        }
    }
    EXPECT_EQ(contexts.size(), 3U);
    std::set<std::string> all;
    for (const auto& [channel, used] : contexts) {
        EXPECT_EQ(used.size(), 1U) << channel;
        all.insert(used.begin(), used.end());
    }
    EXPECT_EQ(all.size(), 3U);
    EXPECT_EQ(doubles::openConnections(), 0);
}

} // namespace
