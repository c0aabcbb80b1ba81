// Every kind of request. Every call fails in every way: once, from then on, and together with its
// neighbour.
#include "agent/handler_tables.h"
#include "requests/message_dispatch.h"
#include "service/hook_function.h"
#include "service/worker_threads.h"
#include "tests/fault_sweep/expected_requests.h"
#include "tests/fault_sweep/sweep.h"
#include "tests/service/service_fixture.h"

#include <algorithm>
#include <vector>

namespace fault_sweep {

namespace {

constexpr char kOther[] = "80000000-0000-0000-0000-008000000001";

using Fields = std::map<std::string, std::string>;

Fields withTarget(Fields fields) {
    fields.emplace("OriginalObjID", kInstance);
    return fields;
}

Fields withTarget(const char* field, const std::string& value) {
    return withTarget(Fields{{field, value}});
}

Fields displayFields(const Fields& changes = {}) {
    Fields fields = changes;
    fields.merge(withTarget(Fields{{"ScreenBrightness", "2"},
                                   {"BacklightOff", "Off After 1 Minute"},
                                   {"ActiveAlarmScreensaver", "Disabled"},
                                   {"InactivityTimer", "1 Minute"},
                                   {"MeasurementSystem", "Imperial"},
                                   {"DateFormat", "MM/DD/YYYY"},
                                   {"TimeFormat", "12"},
                                   {"RoomAverage", "true"},
                                   {"HiLoPeriod", "12 Hours"},
                                   {"Theme", "light"},
                                   {"EventUserName", "operator"}}));
    return fields;
}

Fields unchangedFields() {
    return displayFields({{"ScreenBrightness", "5"},
                          {"BacklightOff", "Never"},
                          {"MeasurementSystem", "Metric"},
                          {"Theme", "dark"}});
}

Fields wrongFields() {
    return displayFields({{"ScreenBrightness", "bright"},
                          {"BacklightOff", "off after 1 minute"},
                          {"MeasurementSystem", "imperial"},
                          {"RoomAverage", "1"},
                          {"Theme", "blue"}});
}

Request read(const char* name) {
    return {
        .name = name, .road = Road::hook, .worker = fnRead, .msgId = "00001", .reqArg = kInstance};
}

Request update(const char* name, const char* msgId, Fields fields) {
    return {.name = name,
            .road = Road::hook,
            .worker = fnUpdate,
            .msgId = msgId,
            .reqArg = "Request:1",
            .fields = std::move(fields)};
}

Request action(const char* name, Fields fields) {
    return {.name = name,
            .road = Road::hook,
            .worker = fnCreate,
            .msgId = "00000",
            .reqArg = "Request:1",
            .fields = std::move(fields)};
}

Request unknown(const char* name, const char* msgId) {
    return {.name = name,
            .road = Road::hook,
            .worker = fnCreate,
            .msgId = msgId,
            .reqArg = "Request:1"};
}

Request past(const char* name, fnTypes worker, const char* msgId) {
    return {.name = name,
            .road = Road::queue,
            .worker = worker,
            .msgId = msgId,
            .reqArg = "Request:1",
            .fields = withTarget("Language", "Deutsch")};
}

Request creation(const char* name, Fields fields) {
    return {.name = name,
            .road = Road::creation,
            .worker = fnCreate,
            .msgId = "00002",
            .reqArg = "Request:1",
            .fields = std::move(fields)};
}

Request with(Request request, void (*change)(Request&)) {
    change(request);
    return request;
}

std::vector<Request> reads() {
    return {
        read("Read"),
        with(read("ReadThatChanges"), [](Request& r) { r.instanceMatchesUnit = false; }),
        with(read("ReadThatChangesWithoutAnAgent"),
             [](Request& r) {
                 r.instanceMatchesUnit = false;
                 r.hasAgent = false;
             }),
        with(read("ReadInAnotherManagingMode"), [](Request& r) { r.managingMode = 1; }),
        with(read("ReadOfAnInstanceBelow"), [](Request& r) { r.reqArg = kOther; }),
        with(read("ReadOfNothing"), [](Request& r) { r.reqArg = ""; }),
        past("ReadOfAnotherId", fnRead, "00002"),
    };
}

std::vector<Request> updates() {
    return {
        update("Language", "00002", withTarget("Language", "Deutsch")),
        update("LanguageTooLong", "00002", withTarget("Language", std::string(2000, 'x'))),
        update("LanguageLeftOut", "00002", withTarget(Fields{})),
        update("Boot", "00004", withTarget("InitialBoot", "true")),
        update("BootOfNoBoolean", "00004", withTarget("InitialBoot", "perhaps")),
        update("Display", "00003", displayFields()),
        with(update("DisplayInAnotherManagingMode", "00003", displayFields()),
             [](Request& r) { r.managingMode = 1; }),
        with(update("DisplayDuringAnAlert", "00003", displayFields()),
             [](Request& r) { r.hasAlert = true; }),
        with(update("DisplayWithoutAStoredTheme", "00003", displayFields()),
             [](Request& r) { r.hasThemeRow = false; }),
        update("DisplayUnchanged", "00003", unchangedFields()),
        update("DisplayOfWrongValues", "00003", wrongFields()),
        update("DisplayLeftOut", "00003", withTarget(Fields{})),
        update("UpdateOfNoObject", "00003", {}),
        update("UpdateOfAnotherInstance", "00002",
               {{"Language", "Deutsch"}, {"OriginalObjID", kOther}}),
        update("UpdateWithoutATarget", "00004", {{"InitialBoot", "true"}}),
        with(update("UpdateWithoutAnAgent", "00003", displayFields()),
             [](Request& r) { r.hasAgent = false; }),
        past("UpdateOfAnotherId", fnUpdate, "00001"),
    };
}

std::vector<Request> actionsAndCreations() {
    const Fields turnOff = withTarget("Action", "WebGUI.TurnOffLCD");
    return {
        action("TurnOffLCD", turnOff),
        with(action("TurnOffLCDDuringAnAlert", turnOff), [](Request& r) { r.hasAlert = true; }),
        with(action("TurnOffLCDWithoutAnAgent", turnOff), [](Request& r) { r.hasAgent = false; }),
        action("GUIReady", withTarget("Action", "WebGUI.GUIReady")),
        action("ActionUnknown", withTarget("Action", "#WebGUI.TurnOffLCD")),
        action("ActionWithTooLongAName", withTarget("Action", std::string(300, 'a'))),
        action("ActionWithoutAName", withTarget(Fields{})),
        action("ActionOfNoObject", {}),
        action("ActionOfAnotherInstance",
               {{"Action", "WebGUI.TurnOffLCD"}, {"OriginalObjID", kOther}}),
        action("ActionWithoutATarget", {{"Action", "WebGUI.GUIReady"}}),
        past("CreationWithoutARow", fnCreate, "00002"),
        creation("CreationInAList", {{"Language", "Deutsch"}, {"OriginalObjID", "new"}}),
        with(creation("CreationInASet", {{"Language", "Deutsch"}, {"OriginalObjID", "new"}}),
             [](Request& r) { r.collectionIsSet = true; }),
        creation("CreationOfNoObject", {}),
        unknown("UnknownId", "00005"),
        unknown("ShortId", "1"),
        unknown("EmptyId", ""),
    };
}

std::vector<Request> allRequests() {
    std::vector<Request> all = reads();
    for (const auto& more : {updates(), actionsAndCreations()}) {
        all.insert(all.end(), more.begin(), more.end());
    }
    return all;
}

constexpr doubles::WorkerBody kBodies[] = {OrvaneWebGUI_CreateObject, OrvaneWebGUI_ReadObject,
                                           OrvaneWebGUI_UpdateObject};

auto count(const RecordedRun& run, const char* function) {
    return std::ranges::count(run.calls, function, &doubles::RecordedCall::function);
}

bool wasDone(const RecordedRun& run, const char* function) {
    return std::ranges::any_of(run.calls, [function](const doubles::RecordedCall& call) {
        return call.function == function && !call.fault;
    });
}

class RequestTest : public service_test::ServiceTest {
protected:
    ~RequestTest() override { G_ManagingMode = 2; }

    // Serves a request once with these faults, in a fresh state.
    RecordedRun serve(const Request& request, const Plan& plan) {
        prepare(request);
        const int blocks = doubles::liveBlocks();
        arm(plan);
        handOver(request);
        RecordedRun run{doubles::recordedCalls(), output(), errors()};
        EXPECT_EQ(doubles::openConnections(), 0);
        EXPECT_EQ(doubles::liveBlocks(), blocks) << "memory was not given back";
        checkAnswer(run);
        try {
            followRequest(request, run);
        } catch (const Replay::Difference& difference) {
            ADD_FAILURE() << difference.what();
        }
        checkNextRequests();
        return run;
    }

private:
    void prepare(const Request& request) {
        destroyWebGUIAgent();
        doubles::reset();
        hexStream();
        doubles::ignore("tql_update_ssqlcol_struct");
        G_Plugin.m_redis = doubles::context();
        G_ManagingMode = request.managingMode;
        doubles::coolingUnit().scale = request.instanceMatchesUnit ? 1 : 0;
        doubles::hashes()[kInstance] = {{"MeasurementSystem", "Metric"}};
        if (!request.fields.empty()) {
            doubles::hashes()[request.reqArg] = {request.fields.begin(), request.fields.end()};
        }
        if (request.collectionIsSet) {
            doubles::sets()[kCollection] = {kInstance};
        }
        doubles::setSetting("HasAlert", request.hasAlert ? "YES" : "NO");
        startAgent();
        if (!request.hasThemeRow) {
            doubles::runSql("DELETE FROM Misc");
        }
        if (!request.hasAgent) {
            destroyWebGUIAgent();
            doubles::calls();
        }
        doubles::database().recordStatements = true;
        doubles::recordAllocations(true);
    }

    static void handOver(const Request& request) {
        if (request.road == Road::creation) {
            createObjectOrActionObject(doubles::context(), request.msgId, request.reqArg, kChannel,
                                       std::ssize(kActionTable), kActionTable,
                                       std::ssize(kUpdateTable), kUpdateTable, "schema-type",
                                       kCollection, G_InstanceKeys);
            return;
        }
        if (request.road == Road::queue) {
            doubles::host()
                .queues.at(request.worker)
                .emplace_back(request.msgId, request.reqArg, kChannel);
        } else {
            std::string texts[] = {request.msgId, request.reqArg, kChannel};
            OrvaneWebGUI_OVRHookFunction(texts[0].data(), texts[1].data(), texts[2].data());
        }
        if (!doubles::host().queues.at(request.worker).empty()) {
            doubles::runWorker(kBodies[request.worker]);
        }
    }

    // One attempt to answer, and nothing else published.
    static void checkAnswer(const RecordedRun& run) {
        const bool served =
            count(run, "osselRedisConnect") == 0 || wasDone(run, "osselRedisConnect");
        EXPECT_EQ(count(run, "osselGenerateUUID"), served ? 1 : 0);
        const bool stored = wasDone(run, "osselCreateReturnMessage");
        EXPECT_EQ(count(run, "osselPublishToChannel"), stored ? 1 : 0);
        if (served && !wasDone(run, "osselPublishToChannel")) {
            EXPECT_NE(run.output.find("[sendReturnMsg]: Failed to call "), std::string::npos);
        }
        for (const doubles::RecordedCall& call : run.calls) {
            if (call.function == "osselPublishToChannel") {
                EXPECT_EQ(fault_sweep::textsOf(call.text).at(0), kChannel);
            }
        }
    }

    // Serves a read and an update without faults.
    void checkNextRequests() {
        doubles::pauseFailures(true);
        doubles::recordAllocations(false);
        G_ManagingMode = 0;
        if (G_WebGUIAgent == nullptr) {
            startAgent();
        }
        doubles::host().queues = {};
        doubles::hashes()["Request:next"] = {{"InitialBoot", "true"}, {"OriginalObjID", kInstance}};
        handOver(read("NextRead"));
        Request next = update("NextUpdate", "00004", {});
        next.reqArg = "Request:next";
        handOver(next);
        EXPECT_THAT(answersSent(doubles::calls()),
                    testing::ElementsAre("Reply:1: Success", "Reply:1: Success"));
        EXPECT_EQ(doubles::openConnections(), 0);
        output();
        errors();
    }
};

class RequestSweep : public RequestTest, public testing::WithParamInterface<Request> {};

TEST_P(RequestSweep, IsAnsweredOnceAndLoggedWhateverFails) {
    const Request& request = GetParam();
    const Counts counts =
        sweep(Where::request, [&](const Plan& plan) { return serve(request, plan); });
    // At least the answer's: its text, its key, its record, its publication.
    EXPECT_GE(counts.lasting, 4);
    EXPECT_GT(counts.pairs, 0);
}

// The rows that a call asks for depend on the call alone.
TEST_F(RequestTest, MeetEachRowOfTheTablesThatConcernsThem) {
    for (const Request& request : allRequests()) {
        sweep(
            Where::request, [&](const Plan& plan) { return serve(request, plan); },
            Extent::newCalls);
    }
    EXPECT_THAT(rowsNeverAskedFor(Where::request), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Reads, RequestSweep, testing::ValuesIn(reads()),
                         [](const auto& instance) { return instance.param.name; });
INSTANTIATE_TEST_SUITE_P(Updates, RequestSweep, testing::ValuesIn(updates()),
                         [](const auto& instance) { return instance.param.name; });
INSTANTIATE_TEST_SUITE_P(Actions, RequestSweep, testing::ValuesIn(actionsAndCreations()),
                         [](const auto& instance) { return instance.param.name; });

} // namespace

} // namespace fault_sweep
