// What only a double does: recording, failing on demand, and showing what it holds.
#include "tests/doubles/platform_test.h"

#include "records.h"
#include "text.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>
#include <utility>

namespace {

using doubles::callsOf;
using doubles::context;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

FieldValuePair pairOf(const char* name, const char* value) {
    FieldValuePair pair{};
    copyBounded(pair.name, name);
    copyBounded(pair.value, value);
    return pair;
}

class PlatformDouble : public doubles::PlatformTest {};

// A handle as the callers make it.
SettingsDatabase settingsHandle() {
    SettingsDatabase handle{};
    copyBounded(handle.path, "/var/database/webgui.db");
    return handle;
}

TEST_F(PlatformDouble, RecordsEachCallAsTheCodeThatMakesIt) {
    const std::array<FieldValuePair, 2> fields{pairOf("A", "1"), pairOf("B", "")};
    osselCreateHashTable(context(), "key", fields.data(), 2);
    osselSADD(context(), "set", "member", 0);
    osselCreateReturnMessage(context(), "id", "InvalidObject", "key", "more",
                             static_cast<const char*>(nullptr));
    LCDBlank(0);
    EXPECT_THAT(doubles::calls(),
                ElementsAre("osselCreateHashTable(ctx, \"key\", [A=1, B=], 2)",
                            "osselSADD(ctx, \"set\", \"member\", 0)",
                            "osselCreateReturnMessage(ctx, \"id\", \"InvalidObject\", \"key\", "
                            "\"more\", null)",
                            "LCDBlank(0)"));
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

TEST_F(PlatformDouble, RecordsNumbersInDecimalWhateverTheStream) {
    hexStream();
    LCDBlankTimeOutSet(300);
    EXPECT_THAT(doubles::calls(), ElementsAre("LCDBlankTimeOutSet(300)"));
}

TEST_F(PlatformDouble, LeavesIgnoredFunctionsOutOfTheRecord) {
    doubles::ignore("LCDBlank");
    LCDBlank(0);
    xset_env_init();
    EXPECT_THAT(doubles::calls(), ElementsAre("xset_env_init()"));
}

TEST_F(PlatformDouble, FailsTheNextTheNthOrEveryCallAsAsked) {
    doubles::fail("LCDBlank", 7);
    EXPECT_EQ(LCDBlank(0), 7);
    EXPECT_EQ(LCDBlank(0), 0);
    doubles::failNth("LCDBlank", 2, 8);
    EXPECT_EQ(LCDBlank(0), 0);
    EXPECT_FALSE(doubles::failuresMet());
    EXPECT_EQ(LCDBlank(0), 8);
    EXPECT_TRUE(doubles::failuresMet());
    doubles::failAlways("LCDBlank", 9);
    EXPECT_EQ(LCDBlank(0), 9);
    EXPECT_EQ(LCDBlank(0), 9);
    EXPECT_EQ(xset_env_init(), 0);
}

TEST_F(PlatformDouble, FailsTheNthCallOfAnyFunction) {
    doubles::failAnyNth(2, 4);
    EXPECT_EQ(LCDBlank(0), 0);
    EXPECT_EQ(xset_env_init(), 4);
    EXPECT_EQ(xset_env_init(), 0);
}

TEST_F(PlatformDouble, FailsACallAndAllLaterOnesOfItsFunction) {
    doubles::failCallAndLater(2, {doubles::Shape::refused, 4});
    EXPECT_EQ(LCDBlank(0), 0);
    EXPECT_EQ(xset_env_init(), 4);
    EXPECT_TRUE(doubles::failuresMet());
    EXPECT_EQ(LCDBlank(0), 0);
    EXPECT_EQ(xset_env_init(), 4);
}

TEST_F(PlatformDouble, FailsNeighbouringCallsAsAsked) {
    doubles::failCall(1, {doubles::Shape::refused, 4});
    doubles::failCall(2, {doubles::Shape::refused, 5});
    EXPECT_EQ(LCDBlank(0), 4);
    EXPECT_EQ(xset_env_init(), 5);
    EXPECT_EQ(LCDBlank(0), 0);
}

TEST_F(PlatformDouble, NeitherFailsNorCountsCallsWhileFailuresArePaused) {
    doubles::failCall(1, {doubles::Shape::refused, 4});
    doubles::pauseFailures(true);
    EXPECT_EQ(LCDBlank(0), 0);
    doubles::pauseFailures(false);
    EXPECT_FALSE(doubles::failuresMet());
    EXPECT_EQ(LCDBlank(0), 4);
}

TEST_F(PlatformDouble, RecordsWhatBecameOfEachCall) {
    doubles::hashes()["key"] = {{"A", "1"}};
    doubles::failCall(1, {doubles::Shape::refused, 4});
    LCDBlank(0);
    osselIsFieldMatched(context(), "key", "A", "1");
    osselIsFieldMatched(context(), "key", "A", "2");
    osselRedisDisconnect(nullptr);
    const std::vector<doubles::RecordedCall> calls = doubles::recordedCalls();
    ASSERT_EQ(calls.size(), 4U);
    EXPECT_EQ(calls[0].fault, (doubles::Fault{doubles::Shape::refused, 4}));
    EXPECT_FALSE(calls[1].fault);
    EXPECT_TRUE(calls[2].fault); // by itself
    EXPECT_TRUE(calls[2].canFail);
    EXPECT_FALSE(calls[3].canFail);
}

TEST_F(PlatformDouble, ResetForgetsCallsFailuresAndData) {
    doubles::failAlways("LCDBlank");
    doubles::hashes()["key"] = {{"A", "1"}};
    LCDBlank(0);
    doubles::reset();
    EXPECT_THAT(doubles::calls(), IsEmpty());
    EXPECT_EQ(LCDBlank(0), 0);
    EXPECT_THAT(doubles::hashes(), IsEmpty());
}

TEST_F(PlatformDouble, GivesConnectionsNamesInTheOrderOfOpening) {
    redisContext* const first = osselRedisConnect();
    redisContext* const second = osselRedisConnect();
    EXPECT_EQ(doubles::openConnections(), 2);
    osselDeleteHash(second, "key");
    osselRedisDisconnect(second);
    osselRedisDisconnect(first);
    osselRedisDisconnect(nullptr);
    EXPECT_EQ(doubles::openConnections(), 0);
    EXPECT_THAT(doubles::calls(),
                ElementsAre("osselRedisConnect()", "osselRedisConnect()",
                            "osselDeleteHash(ctx2, \"key\")", "osselRedisDisconnect(ctx2)",
                            "osselRedisDisconnect(ctx1)", "osselRedisDisconnect(null)"));
}

TEST_F(PlatformDouble, GivesUuidsOfThirtySixCharacters) {
    std::array<char, 37> text{};
    ASSERT_EQ(osselGenerateUUID(context(), text.data()), 0);
    EXPECT_EQ(text.data(), doubles::uuid(1));
    EXPECT_EQ(doubles::uuid(1).size(), 36U);
    EXPECT_EQ(doubles::uuid(12).size(), 36U);
}

TEST_F(PlatformDouble, HandsOutAWholeHashInStoredOrder) {
    doubles::hashes()["key"] = {{"B", "2"}, {"A", "1"}};
    unsigned int count = 0;
    const MallocPtr<FieldValuePair> records{osselHashGetAll(context(), "key", &count)};
    ASSERT_EQ(count, 2U);
    EXPECT_STREQ(records.get()[0].name, "B");
    EXPECT_STREQ(records.get()[1].value, "1");
    EXPECT_EQ(osselHashGetAll(context(), "absent", &count), nullptr);
    EXPECT_EQ(count, 0U);
}

TEST_F(PlatformDouble, HandsOutNoRecordsInEachWayThatTheContractAllows) {
    doubles::hashes()["key"] = {{"A", "1"}};
    unsigned int count = 9;
    doubles::failCall(1, {doubles::Shape::refused, 1});
    EXPECT_EQ(osselHashGetAll(context(), "key", &count), nullptr);
    EXPECT_EQ(count, 0U);
    doubles::failCall(1, {doubles::Shape::nullArray, 0});
    EXPECT_EQ(osselHashGetAll(context(), "key", &count), nullptr);
    EXPECT_EQ(count, 1U);
    doubles::failCall(1, {doubles::Shape::emptyArray, 0});
    const MallocPtr<FieldValuePair> records{osselHashGetAll(context(), "key", &count)};
    EXPECT_NE(records, nullptr);
    EXPECT_EQ(count, 0U);
}

TEST_F(PlatformDouble, HandsOutAnEmptyTextInsteadOfTheStoredOne) {
    doubles::provision();
    std::array<char, 256> text{};
    context();
    for (int nth = 1; nth <= 3; ++nth) {
        doubles::failCall(nth, {doubles::Shape::emptyText, 0});
    }
    const MallocPtr<char> id{
        olGetSchemaTypeIdByField("OsselSchemaInstances", "title", "#OrvaneWebGUI.1.0.0.WebGUI")};
    EXPECT_STREQ(id.get(), "");
    const MallocPtr<char> collection{olObjGetProperty("schema-type", "instanceCollection")};
    EXPECT_STREQ(collection.get(), "");
    EXPECT_EQ(osselGetHashField(context(), "definitions", "WebGUI", text.data()), 0);
    EXPECT_STREQ(text.data(), "");
}

TEST_F(PlatformDouble, MatchesAFieldOnlyWhenItIsEqual) {
    doubles::hashes()["key"] = {{"A", "1"}};
    EXPECT_NE(osselIsFieldMatched(context(), "key", "A", "1"), 0);
    EXPECT_EQ(osselIsFieldMatched(context(), "key", "A", "2"), 0);
    EXPECT_EQ(osselIsFieldMatched(context(), "key", "B", "1"), 0);
    doubles::fail("osselIsFieldMatched");
    EXPECT_EQ(osselIsFieldMatched(context(), "key", "A", "1"), 0);
}

TEST_F(PlatformDouble, HandsOutNoMembersWithAndWithoutMemory) {
    doubles::lists()["list"] = {"a"};
    InstanceSlot* members = nullptr;
    unsigned int count = 9;
    doubles::failCall(1, {doubles::Shape::nullArray, 0});
    EXPECT_EQ(osselSMembers(context(), "list", &members, &count), 0);
    EXPECT_EQ(members, nullptr);
    EXPECT_EQ(count, 0U);
    doubles::failCall(1, {doubles::Shape::emptyArray, 0});
    EXPECT_EQ(osselSMembers(context(), "list", &members, &count), 0);
    const MallocPtr<InstanceSlot> owner{members};
    EXPECT_NE(members, nullptr);
    EXPECT_EQ(count, 0U);
}

TEST_F(PlatformDouble, RenewsTheWorkTreeAndConsumesTheSet) {
    std::array<InstanceSlot, 2> members{};
    copyBounded(members[0], "a");
    copyBounded(members[1], "b");
    ASSERT_EQ(osselCreateSetTable(context(), "set", members.data(), 2), 0);
    EXPECT_EQ(osselRenewCollection(context(), 0, "collection", "set", 0), 0);
    EXPECT_THAT(doubles::sets()["WorkTree:collection"], ElementsAre("a", "b"));
    EXPECT_FALSE(doubles::sets().contains("set"));
    ASSERT_EQ(osselCreateSetTable(context(), "set", members.data(), 1), 0);
    EXPECT_EQ(osselRenewCollection(context(), 1, "collection", "set", 0), 0);
    EXPECT_THAT(doubles::sets()["WorkTree:collection"], ElementsAre("b"));
    EXPECT_THAT(callsOf("osselRenewCollection"),
                ElementsAre("osselRenewCollection(ctx, 0, \"collection\", \"set\", 0)",
                            "osselRenewCollection(ctx, 1, \"collection\", \"set\", 0)"));
}

TEST_F(PlatformDouble, TakesAwayTheFreshnessForATtlOfZeroOrLess) {
    EXPECT_EQ(osselHashAppendTTLObject(context(), "key", 3), 0);
    EXPECT_EQ(doubles::freshness()["key"], 3);
    EXPECT_EQ(osselHashAppendTTLObject(context(), "key", 0), 0);
    EXPECT_THAT(doubles::freshness(), IsEmpty());
}

TEST_F(PlatformDouble, KeepsACopyOfEveryEventThatSucceeds) {
    OsselEvent event{};
    std::array<char, 1024> argument{};
    copyBounded(argument.data(), argument.size(), "WebGUI00");
    copyBounded(event.kind, "MESSAGE");
    event.argumentCount = 1;
    event.arguments = argument.data();
    EXPECT_EQ(osselCreateEventObject(context(), "source", 0, &event, 1), 0);
    doubles::fail("osselCreateEventObject");
    EXPECT_EQ(osselCreateEventObject(context(), "source", 0, &event, 1), 1);
    ASSERT_EQ(doubles::events().size(), 1U);
    EXPECT_THAT(doubles::events()[0].arguments, ElementsAre("WebGUI00"));
    EXPECT_THAT(callsOf("osselCreateEventObject")[1], HasSubstr("arguments=[WebGUI00]"));
}

TEST_F(PlatformDouble, FindsSchemaTypesOnlyWhileSomebodyIsConnected) {
    doubles::provision();
    const char* const title = "#OrvaneWebGUI.1.0.0.WebGUI";
    EXPECT_EQ(olGetSchemaTypeIdByField("OsselSchemaInstances", "title", title), nullptr);
    redisContext* const connection = osselRedisConnect();
    const MallocPtr<char> id{olGetSchemaTypeIdByField("OsselSchemaInstances", "title", title)};
    EXPECT_STREQ(id.get(), "schema-type");
    const MallocPtr<char> collection{olObjGetProperty("schema-type", "instanceCollection")};
    EXPECT_STREQ(collection.get(), "collection");
    EXPECT_EQ(olObjGetProperty("schema-type", "absent"), nullptr);
    osselRedisDisconnect(connection);
}

TEST_F(PlatformDouble, OpensADatabaseWithEmptyThemeStorage) {
    SettingsDatabase handle = settingsHandle();
    EXPECT_EQ(open_database(&handle, 2), 0);
    EXPECT_EQ(handle.ready, 1);
    EXPECT_EQ(handle.schemaLevel, 2);
    EXPECT_EQ(doubles::runSql("INSERT INTO Misc VALUES ('Theme', 'light')"), "");
    EXPECT_EQ(doubles::runSql("SELECT Data FROM View_Theme"), "light");
    EXPECT_EQ(close_database(&handle), 0);
    EXPECT_EQ(handle.ready, 0);
    EXPECT_FALSE(doubles::databaseIsOpen());
    EXPECT_EQ(close_database(&handle), 0);
}

TEST_F(PlatformDouble, LeavesTheHandleUnusableAfterAFailedOpen) {
    SettingsDatabase handle = settingsHandle();
    doubles::database().openResult = -1;
    EXPECT_EQ(open_database(&handle, 2), -1);
    EXPECT_EQ(handle.ready, 0);
    EXPECT_EQ(handle.schemaLevel, 0);
    EXPECT_EQ(handle.connection, nullptr);
    EXPECT_EQ(close_database(&handle), 0);
}

TEST_F(PlatformDouble, AnswersAQueryWithTheHeadingAndEveryRow) {
    SettingsDatabase handle = settingsHandle();
    SettingsTable table{};
    open_database(&handle, 2);
    ASSERT_EQ(query_database_dat_with_condition(&handle, "webgui_tbl", &table, ""), 0);
    ASSERT_EQ(table.rowCount, 1U);
    EXPECT_STREQ(table.rows[0][12].name, "HiLoPeriod");
    EXPECT_STREQ(table.rows[1][0].value, "Zolan CMS Web GUI Settings");
    free_sql_tbl(&table);
    EXPECT_EQ(table.rows, nullptr);
    free_sql_tbl(&table);
    doubles::fail("query_database_dat_with_condition", 3);
    EXPECT_EQ(query_database_dat_with_condition(&handle, "webgui_tbl", &table, ""), 3);
    EXPECT_EQ(table.rows, nullptr);
}

TEST_F(PlatformDouble, LeavesASchemaLevelOrNoReadyFlagAsAsked) {
    SettingsDatabase handle = settingsHandle();
    doubles::failCall(1, {doubles::Shape::levelOne, -1});
    EXPECT_EQ(open_database(&handle, 2), -1);
    EXPECT_EQ(handle.schemaLevel, 1);
    EXPECT_EQ(handle.ready, 0);
    doubles::failCall(1, {doubles::Shape::levelTwo, 3});
    EXPECT_EQ(open_database(&handle, 2), 3);
    EXPECT_EQ(handle.schemaLevel, 2);
    EXPECT_EQ(handle.ready, 0);
    doubles::failCall(1, {doubles::Shape::notReady, 0});
    EXPECT_EQ(open_database(&handle, 2), 0);
    EXPECT_EQ(handle.ready, 0);
    close_database(&handle);
}

TEST_F(PlatformDouble, AnswersAQueryWithAnotherNumberOfRows) {
    SettingsDatabase handle = settingsHandle();
    SettingsTable table{};
    open_database(&handle, 2);
    const std::pair<doubles::Shape, unsigned int> cases[] = {{doubles::Shape::emptyArray, 0},
                                                             {doubles::Shape::nullArray, 0},
                                                             {doubles::Shape::twoRows, 2}};
    for (const auto& [shape, rows] : cases) {
        doubles::failCall(1, {shape, 0});
        EXPECT_EQ(query_database_dat_with_condition(&handle, "webgui_tbl", &table, ""), 0);
        EXPECT_EQ(table.rowCount, rows);
        EXPECT_EQ(table.rows == nullptr, shape == doubles::Shape::nullArray);
        free_sql_tbl(&table);
    }
}

int countRow(void* user, int /*count*/, char** /*values*/, char** /*names*/) {
    ++*static_cast<int*>(user);
    return 0;
}

TEST_F(PlatformDouble, FailsAStatementWithAndWithoutAMessageAndAfterItsRows) {
    SettingsDatabase handle = settingsHandle();
    open_database(&handle, 2);
    doubles::calls();
    doubles::database().recordStatements = true;
    struct Case {
        doubles::Shape shape;
        bool message;
        int rows;
    };
    const Case cases[] = {{doubles::Shape::refused, true, 0},
                          {doubles::Shape::noMessage, false, 0},
                          {doubles::Shape::afterRows, true, 1}};
    for (const Case& each : cases) {
        int rows = 0;
        char* message = nullptr;
        const int blocks = doubles::liveBlocks();
        doubles::failCall(1, {each.shape, SQLITE_IOERR});
        EXPECT_EQ(sqlite3_exec(handle.connection, "SELECT 1", countRow, &rows, &message),
                  SQLITE_IOERR);
        EXPECT_EQ(message != nullptr, each.message);
        EXPECT_EQ(rows, each.rows);
        EXPECT_EQ(doubles::liveBlocks(), each.message ? blocks + 1 : blocks);
        sqlite3_free(message);
        EXPECT_EQ(doubles::liveBlocks(), blocks);
    }
    EXPECT_EQ(sqlite3_exec(handle.connection, "SELECT 1", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(callsOf("sqlite3_exec").size(), 4U);
    close_database(&handle);
}

TEST_F(PlatformDouble, AppliesAnUpdateToItsRow) {
    SettingsDatabase handle = settingsHandle();
    open_database(&handle, 2);
    doubles::calls();
    SettingsColumn column{};
    tql_update_ssqlcol_struct(&column, 1, "Language", "German");
    const SettingsRow row{1, &column};
    EXPECT_EQ(update_database_table_with_condition(&handle, "webgui_tbl", &row, " where 1"), 0);
    EXPECT_EQ(doubles::setting("Language"), "German");
    EXPECT_EQ(insert_database_table_entry_struct(&handle, "webgui_tbl", &row), 0);
    EXPECT_EQ(doubles::database().rows.size(), 2U);
    EXPECT_THAT(doubles::calls(),
                ElementsAre("tql_update_ssqlcol_struct(1, \"Language\", \"German\")",
                            "update_database_table_with_condition(\"webgui_tbl\", "
                            "[Language:1=German], \" where 1\")",
                            "insert_database_table_entry_struct(\"webgui_tbl\", "
                            "[Language:1=German])"));
}

TEST_F(PlatformDouble, LeavesTheScaleUntouchedWhenItCannotBeRead) {
    int scale = 5;
    std::array<char, 1024> text{};
    doubles::fail("CoolGetTempScale", 1);
    EXPECT_EQ(CoolGetTempScale(0, &scale, 0, text.data()), 1);
    EXPECT_EQ(scale, 5);
    EXPECT_EQ(CoolSetTempScale(0, 0, "user", 0), 0);
    EXPECT_EQ(CoolGetTempScale(0, &scale, 0, text.data()), 0);
    EXPECT_EQ(scale, 0);
}

int g_handled = 0;

void* takeForEver(std::string /*name*/) {
    RequestTriple request;
    for (ovrComSupport support;; ++g_handled) {
        support.ovrThreadInstructionPost(lockTake, &request, fnRead);
    }
}

void* endAtOnce(std::string /*name*/) {
    return nullptr;
}

TEST_F(PlatformDouble, HandsAPostToTheWorkerAndThenEndsIt) {
    g_handled = 0;
    ovrBindCAPIToOssel binding;
    RequestTriple request{"00001", "key", "channel"};
    binding.ovrThreadInstructionPost(lockPost, &request, fnRead);
    binding.ovrThreadInstructionPost(lockPost, &request, fnUpdate);
    EXPECT_TRUE(doubles::runWorker(takeForEver).endedByHost);
    EXPECT_EQ(g_handled, 1);
    EXPECT_FALSE(doubles::runWorker(endAtOnce).endedByHost);
    EXPECT_THAT(callsOf("ovrThreadInstructionPost"),
                ElementsAre("ovrThreadInstructionPost(lockPost, {\"00001\", \"key\", "
                            "\"channel\"}, fnRead)",
                            "ovrThreadInstructionPost(lockPost, {\"00001\", \"key\", "
                            "\"channel\"}, fnUpdate)",
                            "ovrThreadInstructionPost(lockTake, fnRead)",
                            "ovrThreadInstructionPost(lockTake, fnRead)"));
}

TEST_F(PlatformDouble, ServesRequestsOnThreadsStartedAtRegistration) {
    g_handled = 0;
    doubles::host().startsThreadsAtRegistration = true;
    ovrBindCAPIToOssel binding;
    binding.ovrAddRunningThread(takeForEver, "reader");
    binding.ovrAddRunningThread(endAtOnce, "gone");
    RequestTriple request{"00001", "key", "channel"};
    binding.ovrThreadInstructionPost(lockPost, &request, fnRead);
    binding.ovrThreadInstructionPost(lockPost, &request, fnRead);
    doubles::waitUntilWorkersAreIdle();
    EXPECT_EQ(g_handled, 2);
    binding.ovrThreadWaitForExit(); // joins them
}

void ignoreRequest(char* /*msgId*/, char* /*reqArg*/, char* /*replyChannel*/) {}

TEST_F(PlatformDouble, RecordsARegistrationNameThatDoesNotLast) {
    char first[] = "OrvaneWebGUI";
    char second[] = "other";
    char* name = first;
    ovrBindCAPIToOssel binding;
    binding.ovrHookFnSet(ignoreRequest);
    binding.ovrHookFnRedisRegister(&name);
    binding.ovrThreadWaitForExit();
    EXPECT_THAT(callsOf("registration name"), IsEmpty());
    name = second;
    doubles::callHook("00001", "key", "channel");
    binding.ovrThreadWaitForExit();
    EXPECT_THAT(callsOf("registration name"),
                ElementsAre("registration name(\"other\")", "registration name(\"other\")"));
}

TEST_F(PlatformDouble, RunsTheGivenFunctionDuringTheWaitForExit) {
    ovrBindCAPIToOssel binding;
    bool ran = false;
    doubles::host().duringWaitForExit = [&ran] { ran = true; };
    binding.ovrThreadWaitForExit();
    EXPECT_TRUE(ran);
}

TEST_F(PlatformDouble, ReturnsFromPausesAtOnce) {
    EXPECT_EQ(usleep(200000), 0);
    EXPECT_EQ(sleep(2), 0U);
    EXPECT_THAT(doubles::calls(), ElementsAre("usleep(200000)", "sleep(2)"));
}

TEST_F(PlatformDouble, LetsAPauseLastAsLongAsTheTestWants) {
    int pauses = 0;
    doubles::duringPause() = [&pauses] { ++pauses; };
    EXPECT_EQ(usleep(1), 0);
    EXPECT_EQ(sleep(1), 0U);
    EXPECT_EQ(pauses, 1);
    doubles::reset();
    EXPECT_EQ(usleep(1), 0);
    EXPECT_EQ(pauses, 1);
}

TEST_F(PlatformDouble, RefusesTheRunMarkerAsOftenAsAsked) {
    doubles::files().markerFailures = 1;
    EXPECT_EQ(::open(doubles::kRunMarkerFile, O_RDWR), -1);
    const int file = ::open(doubles::kRunMarkerFile, O_RDWR | O_CREAT | O_TRUNC, 0666);
    ASSERT_GE(file, 0);
    ::close(file);
    EXPECT_THAT(callsOf("open"),
                ElementsAre("open(\"/tmp/run/Stidre.run\", O_RDWR)",
                            "open(\"/tmp/run/Stidre.run\", O_RDWR | O_CREAT | O_TRUNC)"));
}

TEST_F(PlatformDouble, FailsCallsOfTheCLibraryWithTheAskedError) {
    for (int nth = 1; nth <= 5; ++nth) {
        doubles::failCall(nth, {doubles::Shape::refused, EACCES});
    }
    const auto failsWithTheError = [](bool failed) {
        return failed && std::exchange(errno, 0) == EACCES;
    };
    EXPECT_TRUE(failsWithTheError(::open(doubles::kRunMarkerFile, O_RDWR) == -1));
    EXPECT_TRUE(failsWithTheError(::open(doubles::kManagingModeFile, O_RDONLY) == -1));
    EXPECT_TRUE(failsWithTheError(::unlink(doubles::kBuzzerSilenceFile) == -1));
    EXPECT_TRUE(failsWithTheError(::usleep(1) == -1));
    EXPECT_EQ(::sleep(20), static_cast<unsigned int>(EACCES)); // seconds left
}

TEST_F(PlatformDouble, HandsOutAnEmptyAndAnUnreadableManagingModeFile) {
    doubles::files().managingMode = "Varrow";
    for (const auto shape : {doubles::Shape::emptyText, doubles::Shape::unreadable}) {
        doubles::failCall(1, {shape, 0});
        const int file = ::open(doubles::kManagingModeFile, O_RDONLY);
        ASSERT_GE(file, 0);
        char byte = 0;
        EXPECT_EQ(::read(file, &byte, 1), shape == doubles::Shape::unreadable ? -1 : 0);
        ::close(file);
    }
}

TEST_F(PlatformDouble, HandsOutTheGivenManagingModeFile) {
    EXPECT_EQ(::open(doubles::kManagingModeFile, O_RDONLY), -1);
    doubles::files().managingMode = "Varrow on";
    const int file = ::open(doubles::kManagingModeFile, O_RDONLY);
    ASSERT_GE(file, 0);
    std::array<char, 32> text{};
    EXPECT_EQ(::read(file, text.data(), text.size()), 9);
    EXPECT_STREQ(text.data(), "Varrow on");
    ::close(file);
}

TEST_F(PlatformDouble, OpensAnotherPathInsteadOfTheManagingModeFile) {
    doubles::files().managingModePath = "/dev/null";
    const int file = ::open(doubles::kManagingModeFile, O_RDONLY);
    ASSERT_GE(file, 0);
    char byte = 0;
    EXPECT_EQ(::read(file, &byte, 1), 0);
    ::close(file);
}

TEST_F(PlatformDouble, PassesOtherFilesOnUnrecorded) {
    std::string path = "/tmp/orvane-double-XXXXXX";
    const int descriptor = ::mkstemp(path.data());
    ASSERT_GE(descriptor, 0);
    ::close(descriptor);
    const int file = ::open(path.c_str(), O_RDONLY);
    ASSERT_GE(file, 0);
    ::close(file);
    EXPECT_EQ(::unlink(path.c_str()), 0);
    EXPECT_NE(::access(path.c_str(), F_OK), 0);
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

TEST_F(PlatformDouble, RecordsTheRemovalOfTheBuzzerMarkerInsteadOfDoingIt) {
    doubles::files().unlinkResult = -1;
    EXPECT_EQ(::unlink(doubles::kBuzzerSilenceFile), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_THAT(doubles::calls(), ElementsAre("unlink(\"/tmp/buzzer.silence\")"));
}

TEST_F(PlatformDouble, FailsTheAskedAllocationOnly) {
    doubles::failAllocation(2);
    const MallocPtr<void> first{std::malloc(8)};
    const MallocPtr<void> second{std::calloc(1, 8)};
    const MallocPtr<void> third{std::malloc(8)};
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(second, nullptr);
    EXPECT_NE(third, nullptr);
    EXPECT_TRUE(doubles::allocationFailed());
    EXPECT_EQ(doubles::allocations(), 3);
}

TEST_F(PlatformDouble, RecordsAllocationsAndFailsThemLikeOtherCalls) {
    doubles::recordAllocations(true);
    doubles::failCall(2, {doubles::Shape::refused, ENOMEM});
    const MallocPtr<void> first{std::malloc(8)};
    const MallocPtr<void> second{std::calloc(2, 8)};
    doubles::recordAllocations(false);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(second, nullptr);
    EXPECT_THAT(doubles::calls(), ElementsAre("malloc(8)", "calloc(2, 8)"));
}

TEST_F(PlatformDouble, CountsTheBlocksThatWereNotFreed) {
    const int before = doubles::liveBlocks();
    redisContext* const connection = osselRedisConnect();
    void* const block = std::malloc(8);
    EXPECT_EQ(doubles::liveBlocks(), before + 2);
    std::free(block);
    osselRedisDisconnect(connection);
    EXPECT_EQ(doubles::liveBlocks(), before);
}

TEST_F(PlatformDouble, CatchesWhatIsWrittenToTheStreams) {
    std::cout << 20 << '\n';
    hexStream();
    std::cout << 20 << '\n';
    std::cerr << "wrong\n";
    EXPECT_EQ(output(), "20\n14\n");
    EXPECT_EQ(output(), "");
    EXPECT_EQ(errors(), "wrong\n");
}

} // namespace
