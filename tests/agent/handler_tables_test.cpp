// The handler tables, and what each handler does with its values: agent/handler_tables.cpp, except
// for its mutex.
#include "agent/handler_tables.h"
#include "requests/return_messages.h"
#include "tests/agent/agent_fixture.h"
#include "text.h"

#include <array>
#include <limits>
#include <utility>

namespace {

using agent_test::alertCheckThen;
using agent_test::Calls;
using agent_test::kCountThemes;
using agent_test::kPause;
using agent_test::updateCall;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr char kInstance[] = "80000000-0000-0000-0000-008000000000";
constexpr char kReadScale[] = "CoolGetTempScale(0, 0)";
constexpr char kUpdateThemeToDark[] =
    "sqlite3_exec(\"UPDATE Misc SET Data = 'dark' WHERE Key = 'Theme'\")";

Calls joined(std::initializer_list<Calls> parts) {
    Calls all;
    for (const Calls& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

class Handlers : public agent_test::AgentTest {
protected:
    Handlers() { G_ManagingMode = 0; }
    ~Handlers() override {
        freeReturnMessage(&answer);
        G_ManagingMode = 2;
    }

    static WebGUIAgent& agent() { return *G_WebGUIAgent; }

    // Runs an update handler as the request path does.
    int update(AgentUpdateHandler handler, const std::vector<std::string>& values) {
        std::vector<FieldValuePair> records(values.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            copyBounded(records[i].value, values[i]);
        }
        FieldValuePair* data = records.data();
        int count = static_cast<int>(values.size());
        const int result = handler(doubles::context(), kInstance, &data, &count, &answer);
        EXPECT_EQ(data, records.data());
        EXPECT_EQ(count, static_cast<int>(values.size()));
        return result;
    }

    // The values of a "00003" that changes one default setting.
    using Values = std::vector<std::string>;
    static Values displayValues(std::size_t position = 0, const std::string& value = "5") {
        Values values{"5",  "Never", "Enabled",  "5 Minutes", "Metric",  "YYYY-MM-DD",
                      "24", "true",  "24 Hours", "dark",      "operator"};
        values[position] = value;
        return values;
    }
    int updateDisplay(const Values& values) {
        return update(OrvaneWebGUI_Agent_UPDATE_00003, values);
    }

    void expectAnswer(const char* id) const {
        EXPECT_STREQ(answer.messageId, id);
        EXPECT_EQ(answer.argCount, 0);
    }
    void resetAnswer() {
        freeReturnMessage(&answer);
        answer = kSuccessTemplate;
    }

    ReturnMessage answer = kSuccessTemplate;
};

// --- Tables ---------------------------------------------------------------------------

TEST(HandlerTables, UpdatesAreInThisOrderWithThisTimeToLiveAndTheseProperties) {
    ASSERT_EQ(std::size(kUpdateTable), 3U);
    const std::pair<const char*, std::vector<std::string>> expected[] = {
        {"00002", {"Language"}},
        {"00003",
         {"ScreenBrightness", "BacklightOff", "ActiveAlarmScreensaver", "InactivityTimer",
          "MeasurementSystem", "DateFormat", "TimeFormat", "RoomAverage", "HiLoPeriod", "Theme",
          "EventUserName"}},
        {"00004", {"InitialBoot"}}};
    const AgentUpdateHandler handlers[] = {OrvaneWebGUI_Agent_UPDATE_00002,
                                           OrvaneWebGUI_Agent_UPDATE_00003,
                                           OrvaneWebGUI_Agent_UPDATE_00004};
    for (std::size_t i = 0; i < 3; ++i) {
        const UpdateHandlerEntry& row = kUpdateTable[i];
        EXPECT_EQ(std::string(row.messageId, 8),
                  std::string(expected[i].first) + std::string(3, '\0'));
        EXPECT_EQ(row.ttl, 1);
        EXPECT_EQ(
            std::vector<std::string>(row.propertyNames, row.propertyNames + row.propertyCount),
            expected[i].second);
        EXPECT_EQ(row.handler, handlers[i]);
    }
}

TEST(HandlerTables, ReadsHaveOneRow) {
    ASSERT_EQ(std::size(kReadTable), 1U);
    EXPECT_EQ(std::string(kReadTable[0].messageId, 8), std::string("00001\0\0\0", 8));
    EXPECT_EQ(kReadTable[0].ttl, 1);
    EXPECT_EQ(kReadTable[0].handler, OrvaneWebGUI_Agent_UPDATE_00001);
}

TEST(HandlerTables, ActionsHaveNoParametersAndShareTheEmptyList) {
    ASSERT_EQ(std::size(kActionTable), 2U);
    const std::pair<const char*, AgentActionHandler> expected[] = {
        {"WebGUI.TurnOffLCD", OrvaneWebGUI_Agent_ACTION_TurnOffLCD},
        {"WebGUI.GUIReady", OrvaneWebGUI_Agent_ACTION_GUIReady}};
    for (std::size_t i = 0; i < 2; ++i) {
        std::string name = expected[i].first;
        name.resize(64, '\0');
        EXPECT_EQ(std::string(kActionTable[i].actionName, 64), name);
        EXPECT_EQ(kActionTable[i].parameterCount, 0);
        EXPECT_EQ(kActionTable[i].parameterNames, kActionTable[0].parameterNames);
        EXPECT_EQ(kActionTable[i].handler, expected[i].second);
    }
}

// Runs before any test changes it.
const std::int32_t g_firstManagingMode = G_ManagingMode;

TEST(ManagingMode, IsTwoUntilStartUpReplacesIt) {
    EXPECT_EQ(g_firstManagingMode, 2);
}

// --- No agent -------------------------------------------------------------------------

TEST_F(Handlers, OfUpdatesFailWithoutAnAgent) {
    const std::pair<const char*, AgentUpdateHandler> cases[] = {
        {"OrvaneWebGUI_Agent_UPDATE_00002", OrvaneWebGUI_Agent_UPDATE_00002},
        {"OrvaneWebGUI_Agent_UPDATE_00003", OrvaneWebGUI_Agent_UPDATE_00003},
        {"OrvaneWebGUI_Agent_UPDATE_00004", OrvaneWebGUI_Agent_UPDATE_00004}};
    for (const auto& [name, handler] : cases) {
        resetAnswer();
        EXPECT_EQ(update(handler, displayValues()), 1) << name;
        EXPECT_EQ(output(), "[" + std::string(name) + "]: G_WebGUIAgent is NULL.\n");
        EXPECT_EQ(errors(), "");
        expectAnswer("InternalError"); // set, but not sent
        EXPECT_THAT(doubles::calls(), IsEmpty());
    }
}

TEST_F(Handlers, OfTurnOffLcdFailsWithoutAnAgent) {
    EXPECT_EQ(OrvaneWebGUI_Agent_ACTION_TurnOffLCD(doubles::context(), kInstance, nullptr, &answer,
                                                   nullptr),
              1);
    EXPECT_EQ(output(), "[OrvaneWebGUI_Agent_ACTION_TurnOffLCD]: G_WebGUIAgent is NULL.\n");
    expectAnswer("InternalError");
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

// --- A row that cannot be written -----------------------------------------------------

TEST_F(Handlers, OfUpdatesFailWhenTheRowCannotBeWritten) {
    const std::pair<const char*, AgentUpdateHandler> cases[] = {
        {"OrvaneWebGUI_Agent_UPDATE_00002", OrvaneWebGUI_Agent_UPDATE_00002},
        {"OrvaneWebGUI_Agent_UPDATE_00003", OrvaneWebGUI_Agent_UPDATE_00003},
        {"OrvaneWebGUI_Agent_UPDATE_00004", OrvaneWebGUI_Agent_UPDATE_00004}};
    for (const auto& [name, handler] : cases) {
        start();
        resetAnswer();
        doubles::failAlways("update_database_table_with_condition", 9);
        EXPECT_EQ(update(handler, displayValues()), 1) << name;
        EXPECT_EQ(output(),
                  "[updateData]: Failed to call update_database_table_with_condition().\n[" +
                      std::string(name) + "]: Failed to call WebGUIAgent.updateData().\n");
        EXPECT_EQ(errors(), "");
        expectAnswer("InternalError");
        EXPECT_EQ(doubles::callsOf("update_database_table_with_condition").size(), 16U);
        doubles::reset();
        doubles::ignore("tql_update_ssqlcol_struct");
    }
}

TEST_F(Handlers, OfUpdatesLeaveWhatTheyAppliedWhenTheRowCannotBeWritten) {
    start("dark");
    doubles::failAlways("update_database_table_with_condition");
    const Values values{"2",        "Off After 1 Minute",
                        "Disabled", "1 Minute",
                        "Imperial", "D",
                        "12",       "false",
                        "1 Hour",   "light",
                        "operator"};
    EXPECT_EQ(updateDisplay(values), 1);
    EXPECT_EQ(agent().getScreenBrightness(), 2);
    EXPECT_EQ(agent().getBacklightOff(), "Off After 1 Minute");
    EXPECT_EQ(agent().getMeasurementSystem(), "Imperial");
    EXPECT_EQ(agent().getHiLoPeriod(), "1 Hour");
    EXPECT_EQ(agent().getTheme(), "light");
    EXPECT_EQ(doubles::coolingUnit().scale, 0);
    EXPECT_EQ(doubles::setting("HiLoPeriod"), "24 Hours");
    EXPECT_EQ(doubles::runSql("SELECT Data FROM Misc"), "light");
}

// --- "00002" --------------------------------------------------------------------------

TEST_F(Handlers, OfLanguageStoresAnyText) {
    start();
    for (const char* text : {"Deutsch", "", "English", "  ", "it's"}) {
        EXPECT_EQ(update(OrvaneWebGUI_Agent_UPDATE_00002, {text}), 0);
        EXPECT_THAT(doubles::calls(), ElementsAre(updateCall({{"Language", text}}), kPause));
        EXPECT_EQ(agent().getLanguage(), text);
    }
    EXPECT_EQ(output() + errors(), "");
    expectAnswer("Success");
}

TEST_F(Handlers, OfLanguageKeepTheWholeTextInMemory) {
    start();
    const std::string text(1023, 'x');
    EXPECT_EQ(update(OrvaneWebGUI_Agent_UPDATE_00002, {text}), 0);
    EXPECT_EQ(agent().getLanguage(), text);
    EXPECT_EQ(doubles::setting("Language"), text.substr(0, 255));
}

// --- "00004" --------------------------------------------------------------------------

TEST_F(Handlers, OfInitialBootReadTheTextAsABoolean) {
    const std::pair<const char*, bool> cases[] = {{"true", true},   {"True", true}, {"TRUEx", true},
                                                  {"false", false}, {"1", false},   {"", false},
                                                  {"yes", false}};
    start();
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(update(OrvaneWebGUI_Agent_UPDATE_00004, {text}), 0);
        EXPECT_EQ(agent().getInitialBoot(), value) << text;
        EXPECT_THAT(doubles::calls(),
                    ElementsAre(updateCall({{"InitBoot", value ? "true" : "false"}}), kPause));
    }
    expectAnswer("Success");
}

// --- "00003" --------------------------------------------------------------------------

TEST_F(Handlers, OfDisplayApplyTheirValuesInThisOrder) {
    start("light");
    const Values values{"2",        "Off After 1 Minute",
                        "Disabled", "1 Minute",
                        "Imperial", "DD.MM",
                        "12",       "false",
                        "1 Hour",   "dark",
                        "operator"};
    EXPECT_EQ(updateDisplay(values), 0);
    EXPECT_THAT(
        doubles::calls(),
        ElementsAreArray(joined({alertCheckThen({"LCDBlankTimeOutSet(60)"}),
                                 {"LCDBrightnessSet(2)", "CoolSetTempScale(0, 0, \"operator\", 0)",
                                  kCountThemes, kUpdateThemeToDark,
                                  updateCall({{"Brightness", "2"},
                                              {"BacklightOff", "Off After 1 Minute"},
                                              {"Screensaver", "Disabled"},
                                              {"Timer", "1 Minute"},
                                              {"Measurement", "Imperial"},
                                              {"DateFormat", "DD.MM"},
                                              {"TimeFormat", "12"},
                                              {"RoomAverage", "false"},
                                              {"HiLoPeriod", "1 Hour"}}),
                                  kPause}})));
    EXPECT_EQ(output() + errors(), "");
    expectAnswer("Success");
    EXPECT_EQ(agent().getActiveAlarmScreensaver(), "Disabled");
    EXPECT_EQ(agent().getInactivityTimer(), "1 Minute");
    EXPECT_EQ(agent().getDateFormat(), "DD.MM");
    EXPECT_EQ(agent().getTimeFormat(), "12");
    EXPECT_FALSE(agent().getRoomAverage());
    EXPECT_EQ(agent().getHiLoPeriod(), "1 Hour");
    EXPECT_EQ(agent().getTheme(), "dark");
}

TEST_F(Handlers, OfDisplayWriteTheThemeAndTheRowEvenWhenNothingChanges) {
    start("dark");
    EXPECT_EQ(updateDisplay(displayValues()), 0);
    EXPECT_THAT(doubles::calls(),
                ElementsAre(kCountThemes, kUpdateThemeToDark, updateCall(), kPause));
}

TEST_F(Handlers, OfDisplayLogARefusedBrightnessAndStoreTheOtherValues) {
    const std::pair<const char*, const char*> cases[] = {{"9", "9"},
                                                         {"0", "0"},
                                                         {"8", "8"},
                                                         {"-1", "-1"},
                                                         {"abc", "0"},
                                                         {"26", "26"},
                                                         {"4294967297", "2147483647"}};
    hexStream();
    for (const auto& [text, shown] : cases) {
        start();
        Values values = displayValues(0, text);
        values[2] = "Disabled";
        EXPECT_EQ(updateDisplay(values), 0) << text;
        EXPECT_EQ(output(), "[setScreenBrightness]: Incorrect screen brightness(" +
                                std::string(shown) + ").\n");
        EXPECT_THAT(doubles::callsOf("update_database_table_with_condition"),
                    ElementsAre(updateCall({{"Screensaver", "Disabled"}})));
        EXPECT_EQ(agent().getScreenBrightness(), 5);
        doubles::setSetting("Screensaver", "Enabled");
    }
    expectAnswer("Success");
}

TEST_F(Handlers, OfDisplayStoreTenNewValuesBesideARefusedBrightness) {
    start("dark");
    EXPECT_EQ(updateDisplay({"9", "Off After 2 Minutes", "Disabled", "1 Minute", "Imperial",
                             "DD.MM", "12", "false", "1 Hour", "light", "operator"}),
              0);
    EXPECT_EQ(output(), "[setScreenBrightness]: Incorrect screen brightness(9).\n");
    EXPECT_EQ(errors(), "");
    EXPECT_THAT(doubles::calls(),
                ElementsAreArray(joined(
                    {alertCheckThen({"LCDBlankTimeOutSet(120)"}),
                     {"CoolSetTempScale(0, 0, \"operator\", 0)", kCountThemes,
                      "sqlite3_exec(\"UPDATE Misc SET Data = 'light' WHERE Key = 'Theme'\")",
                      updateCall({{"BacklightOff", "Off After 2 Minutes"}, // Brightness stays 5
                                  {"Screensaver", "Disabled"},
                                  {"Timer", "1 Minute"},
                                  {"Measurement", "Imperial"},
                                  {"DateFormat", "DD.MM"},
                                  {"TimeFormat", "12"},
                                  {"RoomAverage", "false"},
                                  {"HiLoPeriod", "1 Hour"}}),
                      kPause}})));
    EXPECT_EQ(agent().getScreenBrightness(), 5);
    EXPECT_EQ(agent().getTheme(), "light");
    expectAnswer("Success");
}

TEST_F(Handlers, OfDisplayReadTheLeadingNumberOfTheBrightness) {
    start();
    EXPECT_EQ(updateDisplay(displayValues(0, " 6 of 7")), 0);
    EXPECT_EQ(agent().getScreenBrightness(), 6);
}

TEST_F(Handlers, OfDisplayStoreAnUnknownBacklightChoice) {
    start();
    EXPECT_EQ(updateDisplay(displayValues(1, "off after 1 minute")), 0);
    EXPECT_EQ(output(), "[setBacklightOff]: Failed to call setLCDBacklightOff().\n");
    EXPECT_EQ(doubles::setting("BacklightOff"), "off after 1 minute");
    EXPECT_THAT(doubles::callsOf("LCDBlankTimeOutSet"), IsEmpty());
    expectAnswer("Success");
}

TEST_F(Handlers, OfDisplaySucceedWithARefusedTheme) {
    start("dark");
    EXPECT_EQ(updateDisplay(displayValues(9, "Dark")), 0);
    EXPECT_EQ(output(), "[setTheme]: Invalided Theme value (Dark) \n");
    EXPECT_EQ(agent().getTheme(), "dark");
    expectAnswer("Success");
}

TEST_F(Handlers, OfDisplaySucceedWhenTheThemeCannotBeStored) {
    start("dark");
    doubles::runSql("DROP VIEW View_Theme");
    doubles::runSql("DROP TABLE Misc");
    EXPECT_EQ(updateDisplay(displayValues(8, "1 Hour")), 0);
    EXPECT_THAT(errors(), testing::EndsWith("[setTheme: Stopped due to failed \n"));
    EXPECT_EQ(output(), "");
    EXPECT_EQ(doubles::setting("HiLoPeriod"), "1 Hour");
}

TEST_F(Handlers, OfDisplayReadTheRoomAverageAsABoolean) {
    const std::pair<const char*, bool> cases[] = {{"True", true}, {"TRUE", true}, {"trueish", true},
                                                  {"1", false},   {"yes", false}, {"", false}};
    start();
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(updateDisplay(displayValues(7, text)), 0);
        EXPECT_EQ(agent().getRoomAverage(), value) << text;
        EXPECT_EQ(doubles::setting("RoomAverage"), value ? "true" : "false") << text;
    }
}

TEST_F(Handlers, OfDisplaySetTheUnitsScaleOnlyWhenTheSettingChanges) {
    struct Case {
        const char* before;
        const char* value;
        const char* call; // null: none
    };
    const Case cases[] = {
        {"Metric", "Imperial", "CoolSetTempScale(0, 0, \"operator\", 0)"},
        {"Imperial", "Metric", "CoolSetTempScale(0, 1, \"operator\", 0)"},
        {"Metric", "imperial", "CoolSetTempScale(0, 1, \"operator\", 0)"},
        {"Imperial", "imperial", "CoolSetTempScale(0, 1, \"operator\", 0)"},
        {"Metric", "Imperial ", "CoolSetTempScale(0, 1, \"operator\", 0)"},
        {"Metric", "", "CoolSetTempScale(0, 1, \"operator\", 0)"},
        {"Metric", "Kelvin", "CoolSetTempScale(0, 1, \"operator\", 0)"},
        {"Metric", "Metric", nullptr},
        {"Imperial", "Imperial", nullptr},
        {"", "", nullptr},
    };
    for (const Case& each : cases) {
        doubles::setSetting("Measurement", each.before);
        start();
        doubles::coolingUnit().scale = 7; // any other scale
        EXPECT_EQ(updateDisplay(displayValues(4, each.value)), 0);
        const Calls calls = doubles::callsOf("CoolSetTempScale");
        EXPECT_EQ(calls, each.call == nullptr ? Calls{} : Calls{each.call}) << each.value;
        EXPECT_EQ(agent().getMeasurementSystem(), each.value);
        EXPECT_EQ(doubles::setting("Measurement"), each.value);
    }
}

TEST_F(Handlers, OfDisplayLeaveTheUnitAloneUnlessTheManagingModeIsZero) {
    for (const std::int32_t mode : {1, 2, -1, 3, std::numeric_limits<std::int32_t>::min()}) {
        G_ManagingMode = mode;
        doubles::setSetting("Measurement", "Metric");
        start();
        EXPECT_EQ(updateDisplay(displayValues(4, "Imperial")), 0);
        EXPECT_THAT(doubles::callsOf("CoolSetTempScale"), IsEmpty()) << mode;
        EXPECT_EQ(agent().getMeasurementSystem(), "Imperial") << mode;
        EXPECT_EQ(doubles::setting("Measurement"), "Imperial") << mode;
    }
}

TEST_F(Handlers, OfDisplayPassTheUserNameUnchanged) {
    start();
    Values values = displayValues(4, "Imperial");
    values[10] = "";
    EXPECT_EQ(updateDisplay(values), 0);
    EXPECT_THAT(doubles::callsOf("CoolSetTempScale"),
                ElementsAre("CoolSetTempScale(0, 0, \"\", 0)"));
}

TEST_F(Handlers, OfDisplayIgnoreTheResultsOfPanelAndUnit) {
    for (const char* function : {"LCDBrightnessSet", "LCDBlankTimeOutSet", "CoolSetTempScale"}) {
        doubles::failAlways(function, -1);
    }
    start();
    Values values = displayValues(4, "Imperial");
    values[0] = "3";
    values[1] = "Off After 3 Minutes";
    EXPECT_EQ(updateDisplay(values), 0);
    EXPECT_EQ(output() + errors(), "");
    EXPECT_THAT(doubles::callsOf("update_database_table_with_condition"),
                ElementsAre(updateCall({{"Brightness", "3"},
                                        {"BacklightOff", "Off After 3 Minutes"},
                                        {"Measurement", "Imperial"}})));
}

TEST_F(Handlers, OfDisplayApplyEmptyValuesToo) {
    start("light");
    EXPECT_EQ(updateDisplay(Values(11)), 0);
    EXPECT_EQ(output(), "[setBacklightOff]: Failed to call setLCDBacklightOff().\n"
                        "[setScreenBrightness]: Incorrect screen brightness(0).\n"
                        "[setTheme]: Invalided Theme value () \n");
    EXPECT_THAT(doubles::calls(), ElementsAreArray(joined({alertCheckThen({}),
                                                           {"CoolSetTempScale(0, 1, \"\", 0)",
                                                            updateCall({{"BacklightOff", ""},
                                                                        {"Screensaver", ""},
                                                                        {"Timer", ""},
                                                                        {"Measurement", ""},
                                                                        {"DateFormat", ""},
                                                                        {"TimeFormat", ""},
                                                                        {"RoomAverage", "false"},
                                                                        {"HiLoPeriod", ""}}),
                                                            kPause}})));
    EXPECT_EQ(agent().getTheme(), "light");
    expectAnswer("Success");
}

// --- "00001" --------------------------------------------------------------------------

class ReadHandler : public Handlers {
protected:
    int read(const std::string& key = kInstance) {
        flag = true;
        return OrvaneWebGUI_Agent_UPDATE_00001(doubles::context(), key, &answer, &flag);
    }
    static std::string matched(const char* text) {
        return "osselIsFieldMatched(ctx, \"" + std::string(kInstance) +
               "\", \"MeasurementSystem\", \"" + text + "\")";
    }
    static std::string written(const char* text) {
        return "osselCreateHashTable(ctx, \"" + std::string(kInstance) +
               "\", [MeasurementSystem=" + text + "], 1)";
    }
    static void storeInInstance(const char* text) {
        doubles::hashes()[kInstance] = {{"MeasurementSystem", text}, {"Language", "English"}};
    }

    bool flag = true;
};

TEST_F(ReadHandler, DoesNothingUnlessTheManagingModeIsZero) {
    start();
    for (const std::int32_t mode : {1, 2, -3, std::numeric_limits<std::int32_t>::min()}) {
        G_ManagingMode = mode;
        EXPECT_EQ(read(), 0);
        EXPECT_FALSE(flag) << mode;
        EXPECT_THAT(doubles::calls(), IsEmpty()) << mode;
    }
}

TEST_F(ReadHandler, LeavesAnInstanceThatMatchesTheUnitAlone) {
    start();
    const std::pair<int, const char*> cases[] = {{0, "Imperial"}, {1, "Metric"}};
    for (const auto& [scale, text] : cases) {
        doubles::coolingUnit().scale = scale;
        storeInInstance(text);
        EXPECT_EQ(read(), 0);
        EXPECT_FALSE(flag);
        EXPECT_THAT(doubles::calls(), ElementsAre(kReadScale, matched(text)));
    }
    expectAnswer("Success");
}

TEST_F(ReadHandler, UpdatesTheInstanceThenTheSettings) {
    const std::pair<int, const char*> cases[] = {
        {0, "Imperial"}, {1, "Metric"}, {2, "Metric"}, {-1, "Metric"}};
    for (const auto& [scale, text] : cases) {
        doubles::setSetting("Measurement", "other");
        start();
        doubles::coolingUnit().scale = scale;
        storeInInstance("other");
        EXPECT_EQ(read(), 0) << scale;
        EXPECT_TRUE(flag) << scale;
        EXPECT_THAT(doubles::calls(), ElementsAre(kReadScale, matched(text), written(text),
                                                  updateCall({{"Measurement", text}}), kPause));
        EXPECT_EQ(agent().getMeasurementSystem(), text);
        EXPECT_EQ(doubles::field(kInstance, "MeasurementSystem"), text);
        EXPECT_EQ(doubles::field(kInstance, "Language"), "English");
    }
    EXPECT_EQ(output() + errors(), "");
    expectAnswer("Success");
}

TEST_F(ReadHandler, WritesWhatCannotBeCompared) {
    start();
    storeInInstance("Metric");
    doubles::fail("osselIsFieldMatched");
    EXPECT_EQ(read(), 0);
    EXPECT_TRUE(flag);
    EXPECT_THAT(doubles::callsOf("osselCreateHashTable"), ElementsAre(written("Metric")));
}

TEST_F(ReadHandler, TakesAUnitThatDoesNotAnswerAsMetric) {
    start();
    doubles::coolingUnit().scale = 0;
    storeInInstance("Imperial");
    doubles::failAlways("CoolGetTempScale", -1);
    EXPECT_EQ(read(), 0);
    EXPECT_TRUE(flag);
    EXPECT_EQ(doubles::field(kInstance, "MeasurementSystem"), "Metric");
    EXPECT_EQ(output() + errors(), "");
}

TEST_F(ReadHandler, PassesTheFailureOfTheHashOnAndChangesNothingElse) {
    start();
    doubles::coolingUnit().scale = 0;
    for (const int code : {1, -1, 26}) {
        storeInInstance("Metric");
        doubles::fail("osselCreateHashTable", code);
        EXPECT_EQ(read(), code);
        EXPECT_FALSE(flag);
        EXPECT_THAT(doubles::calls(),
                    ElementsAre(kReadScale, matched("Imperial"), written("Imperial")));
        EXPECT_EQ(agent().getMeasurementSystem(), "Metric");
        EXPECT_EQ(output() + errors(), "");
        expectAnswer("Success"); // unchanged
    }
}

TEST_F(ReadHandler, SucceedsWhenTheRowCannotBeWritten) {
    start();
    doubles::coolingUnit().scale = 0;
    storeInInstance("Metric");
    doubles::failAlways("update_database_table_with_condition");
    EXPECT_EQ(read(), 0);
    EXPECT_TRUE(flag);
    EXPECT_EQ(output(), "[updateData]: Failed to call update_database_table_with_condition().\n");
    EXPECT_EQ(agent().getMeasurementSystem(), "Imperial");
    expectAnswer("Success");
}

TEST_F(ReadHandler, UpdatesOnlyTheInstanceWithoutAnAgent) {
    doubles::coolingUnit().scale = 0;
    storeInInstance("Metric");
    EXPECT_EQ(read(), 0);
    EXPECT_TRUE(flag);
    EXPECT_THAT(doubles::calls(),
                ElementsAre(kReadScale, matched("Imperial"), written("Imperial")));
    EXPECT_EQ(output() + errors(), "");
    expectAnswer("Success");
}

TEST_F(ReadHandler, NeedsNoAnswerRecord) {
    storeInInstance("Metric");
    EXPECT_EQ(OrvaneWebGUI_Agent_UPDATE_00001(doubles::context(), kInstance, nullptr, &flag), 0);
    EXPECT_FALSE(flag);
}

// --- Actions --------------------------------------------------------------------------

TEST_F(Handlers, OfTurnOffLcdBlankThePanelAndCreateNoObject) {
    start();
    std::string newObjectId;
    EXPECT_EQ(OrvaneWebGUI_Agent_ACTION_TurnOffLCD(doubles::context(), kInstance, nullptr, &answer,
                                                   &newObjectId),
              0);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(alertCheckThen({"LCDBlank(0)"})));
    EXPECT_EQ(newObjectId, "");
    expectAnswer("Success");
}

TEST_F(Handlers, OfTurnOffLcdSucceedWhileAnAlertIsShownAndWhenThePanelFails) {
    start();
    doubles::setSetting("HasAlert", "YES");
    EXPECT_EQ(OrvaneWebGUI_Agent_ACTION_TurnOffLCD(doubles::context(), kInstance, nullptr, &answer,
                                                   nullptr),
              0);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(alertCheckThen({})));
    doubles::setSetting("HasAlert", "NO");
    doubles::failAlways("LCDBlank", -1);
    EXPECT_EQ(OrvaneWebGUI_Agent_ACTION_TurnOffLCD(doubles::context(), kInstance, nullptr, &answer,
                                                   nullptr),
              0);
    expectAnswer("Success");
    EXPECT_EQ(output() + errors(), "");
}

TEST_F(Handlers, OfGuiReadySucceedEvenIfTheMarkerStaysAndNeedNoAgent) {
    for (const int result : {0, -1}) {
        doubles::files().unlinkResult = result;
        std::string newObjectId;
        EXPECT_EQ(OrvaneWebGUI_Agent_ACTION_GUIReady(doubles::context(), kInstance, nullptr,
                                                     &answer, &newObjectId),
                  0);
        EXPECT_THAT(doubles::calls(), ElementsAre("unlink(\"/tmp/buzzer.silence\")"));
        EXPECT_EQ(newObjectId, "");
    }
    EXPECT_EQ(output() + errors(), "");
    expectAnswer("Success");
}

} // namespace
