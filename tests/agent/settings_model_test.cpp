// Reading and writing the settings row, the fixed pace, and what start-up applies:
// agent/settings_model.cpp.
#include "tests/agent/agent_fixture.h"

#include <limits>
#include <utility>

namespace {

using agent_test::alertCheckThen;
using agent_test::Calls;
using agent_test::kFree;
using agent_test::kPause;
using agent_test::kQuery;
using agent_test::kReadTheme;
using agent_test::repeated;
using agent_test::updateCall;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr char kInsert[] = "insert_database_table_entry_struct";
constexpr char kUpdate[] = "update_database_table_with_condition";
constexpr char kQueryName[] = "query_database_dat_with_condition";

class SettingsModel : public agent_test::AgentTest {
protected:
    static WebGUIAgent& agent() { return *G_WebGUIAgent; }

    // Calls every setter that has no further effect.
    static void setPlainMembers() {
        agent().setInitialBoot(true);
        agent().setLanguage("Deutsch");
        agent().setActiveAlarmScreensaver("Disabled");
        agent().setInactivityTimer("9 Minutes");
        agent().setMeasurementSystem("Imperial");
        agent().setDateFormat("DD.MM.YYYY");
        agent().setTimeFormat("12");
        agent().setRoomAverage(false);
        agent().setHiLoPeriod("1 Hour");
    }
    static std::map<std::string, std::string> plainChanges() {
        return {{"InitBoot", "true"},   {"Language", "Deutsch"},     {"Screensaver", "Disabled"},
                {"Timer", "9 Minutes"}, {"Measurement", "Imperial"}, {"DateFormat", "DD.MM.YYYY"},
                {"TimeFormat", "12"},   {"RoomAverage", "false"},    {"HiLoPeriod", "1 Hour"}};
    }

    static void expectDefaults() {
        EXPECT_FALSE(agent().getInitialBoot());
        EXPECT_EQ(agent().getLanguage(), "English");
        EXPECT_EQ(agent().getScreenBrightness(), 5);
        EXPECT_EQ(agent().getBacklightOff(), "Never");
        EXPECT_EQ(agent().getActiveAlarmScreensaver(), "Enabled");
        EXPECT_EQ(agent().getInactivityTimer(), "5 Minutes");
        EXPECT_EQ(agent().getMeasurementSystem(), "Metric");
        EXPECT_EQ(agent().getDateFormat(), "YYYY-MM-DD");
        EXPECT_EQ(agent().getTimeFormat(), "24");
        EXPECT_TRUE(agent().getRoomAverage());
        EXPECT_EQ(agent().getHiLoPeriod(), "24 Hours");
    }

    static std::vector<std::string> otherRow(const char* name) {
        return {name,       "true",      "Deutsch",  "2",          "Off After 1 Minute",
                "Disabled", "9 Minutes", "Imperial", "DD.MM.YYYY", "12",
                "YES",      "false",     "1 Hour"};
    }
    static void storeOtherRow() {
        doubles::database().rows = {otherRow("Zolan CMS Web GUI Settings")};
    }
    // A row that the condition did not select: only so its name can differ.
    static void findRowOfAnotherName() { doubles::database().found = {{otherRow("Other")}}; }
    static void expectOtherRow() {
        EXPECT_TRUE(agent().getInitialBoot());
        EXPECT_EQ(agent().getLanguage(), "Deutsch");
        EXPECT_EQ(agent().getScreenBrightness(), 2);
        EXPECT_EQ(agent().getBacklightOff(), "Off After 1 Minute");
        EXPECT_EQ(agent().getActiveAlarmScreensaver(), "Disabled");
        EXPECT_EQ(agent().getInactivityTimer(), "9 Minutes");
        EXPECT_EQ(agent().getMeasurementSystem(), "Imperial");
        EXPECT_EQ(agent().getDateFormat(), "DD.MM.YYYY");
        EXPECT_EQ(agent().getTimeFormat(), "12");
        EXPECT_FALSE(agent().getRoomAverage());
        EXPECT_EQ(agent().getHiLoPeriod(), "1 Hour");
    }

    // Returns the agent's alert without reloading it.
    static bool heldAlert() {
        doubles::failAlways(kQueryName);
        return agent().hasAlert();
    }
};

// --- Start-up -------------------------------------------------------------------------

class SettingsStartUp : public SettingsModel {};

TEST_F(SettingsStartUp, OpensReadsAndAppliesTheSettingsInThisOrder) {
    doubles::database().statements = {"INSERT INTO Misc VALUES ('Theme', 'light')"};
    doubles::setSetting("BacklightOff", "Off After 2 Minutes");
    const WebGUIAgent fresh;
    EXPECT_THAT(doubles::calls(), ElementsAre("open_database(\"/var/database/webgui.db\", 2)",
                                              kQuery, kPause, kFree, kReadTheme, "xset_env_init()",
                                              "LCDBrightnessSet(5)", "LCDBlankTimeOutSet(120)"));
}

TEST_F(SettingsStartUp, LoadsEveryMemberAndTheTheme) {
    start("light");
    expectDefaults();
    EXPECT_EQ(agent().getName(), "Zolan CMS Web GUI Settings");
    EXPECT_EQ(agent().getTheme(), "light");
    findRowOfAnotherName();
    start();
    expectOtherRow();
    EXPECT_EQ(agent().getName(), "Zolan CMS Web GUI Settings");
}

TEST_F(SettingsStartUp, KeepsThePanelLitWhileAnAlertIsShown) {
    doubles::setSetting("BacklightOff", "Off After 1 Minute");
    const std::pair<const char*, const char*> cases[] = {
        {"YES", "LCDBlankTimeOutSet(0)"},   {"NO", "LCDBlankTimeOutSet(60)"},
        {"yes", "LCDBlankTimeOutSet(60)"},  {"", "LCDBlankTimeOutSet(60)"},
        {"YES ", "LCDBlankTimeOutSet(60)"}, {"Y", "LCDBlankTimeOutSet(60)"}};
    for (const auto& [alert, call] : cases) {
        doubles::setSetting("HasAlert", alert);
        const WebGUIAgent fresh;
        EXPECT_THAT(doubles::callsOf("LCDBlankTimeOutSet"), ElementsAre(call)) << alert;
    }
}

TEST_F(SettingsStartUp, PassesTheLoadedBrightnessOnUnchecked) {
    for (const char* level : {"9", "0", "-1", "8", "1", "7", "2147483647", "-2147483648"}) {
        doubles::setSetting("Brightness", level);
        const WebGUIAgent fresh;
        EXPECT_THAT(doubles::callsOf("LCDBrightnessSet"),
                    ElementsAre("LCDBrightnessSet(" + std::string(level) + ")"));
        EXPECT_EQ(output(), "[WebGUIAgent]: Database is ready \n");
    }
}

TEST_F(SettingsStartUp, NeitherAppliesNorLogsAnUnknownBacklightChoice) {
    doubles::setSetting("BacklightOff", "never");
    const WebGUIAgent fresh;
    EXPECT_THAT(doubles::callsOf("LCDBlankTimeOutSet"), IsEmpty());
    EXPECT_EQ(output(), "[WebGUIAgent]: Database is ready \n");
    EXPECT_EQ(fresh.getBacklightOff(), "never");
}

TEST_F(SettingsStartUp, GoesOnWithEmptySettingsWhenTheRowCannotBeRead) {
    doubles::failAlways(kQueryName, 5);
    const WebGUIAgent fresh;
    Calls expected{"open_database(\"/var/database/webgui.db\", 2)"};
    const Calls tries = repeated(16, {kQuery, kPause});
    expected.insert(expected.end(), tries.begin(), tries.end());
    for (const char* call :
         {kReadTheme, "sqlite3_exec(\"SELECT count(*) from Misc WHERE Key = 'Theme'\")",
          "sqlite3_exec(\"INSERT INTO Misc VALUES ( 'Theme', 'dark' )\")", "xset_env_init()",
          "LCDBrightnessSet(0)"}) {
        expected.emplace_back(call);
    }
    EXPECT_THAT(doubles::calls(), ElementsAreArray(expected));
    EXPECT_EQ(output(), "[WebGUIAgent]: Database is ready \n"
                        "[reloadData]: Failed to call query_database_dat_with_condition(). The "
                        "return code: 5\n");
    EXPECT_EQ(fresh.getName(), "Zolan CMS Web GUI Settings");
    EXPECT_EQ(fresh.getLanguage(), "");
    EXPECT_EQ(fresh.getScreenBrightness(), 0);
}

TEST_F(SettingsStartUp, IgnoresTheResultsOfThePanel) {
    for (const char* function : {"xset_env_init", "LCDBrightnessSet", "LCDBlankTimeOutSet"}) {
        doubles::failAlways(function, -1);
    }
    const WebGUIAgent fresh;
    EXPECT_EQ(output(), "[WebGUIAgent]: Database is ready \n");
    EXPECT_EQ(fresh.getLanguage(), "English");
}

// --- Reading --------------------------------------------------------------------------

class ReloadData : public SettingsModel {};

TEST_F(ReloadData, InModeZeroLoadsEveryMemberButTheName) {
    start();
    findRowOfAnotherName();
    EXPECT_EQ(agent().reloadData(0), 1U);
    EXPECT_THAT(doubles::calls(), ElementsAre(kQuery, kPause, kFree, kReadTheme));
    EXPECT_EQ(output() + errors(), "");
    expectOtherRow();
    EXPECT_TRUE(heldAlert());
    EXPECT_EQ(agent().getName(), "Zolan CMS Web GUI Settings");
}

TEST_F(ReloadData, InModeOneLoadsTheAlertOnly) {
    start();
    storeOtherRow();
    EXPECT_EQ(agent().reloadData(1), 1U);
    EXPECT_THAT(doubles::calls(), ElementsAre(kQuery, kPause, kFree, kReadTheme));
    expectDefaults();
    EXPECT_TRUE(heldAlert());
}

TEST_F(ReloadData, InAnyOtherModeLoadsNothingAndSucceeds) {
    start();
    storeOtherRow();
    for (const int mode : {2, 3, -1, 256}) {
        EXPECT_EQ(agent().reloadData(mode), 1U) << mode;
        EXPECT_THAT(doubles::calls(), ElementsAre(kQuery, kPause, kFree, kReadTheme)) << mode;
    }
    expectDefaults();
    EXPECT_FALSE(heldAlert());
}

TEST_F(ReloadData, RefreshesTheThemeInEveryModeAndAfterAFailure) {
    start("dark");
    for (const int mode : {0, 1, 2}) {
        for (const bool fails : {false, true}) {
            const std::string theme = "theme " + std::to_string(mode) + (fails ? " x" : "");
            doubles::runSql("UPDATE Misc SET Data = '" + theme + "'");
            if (fails) {
                doubles::database().rows.clear();
            }
            agent().reloadData(mode);
            doubles::database().rows = {doubles::defaultSettings()};
            doubles::runSql("DROP VIEW View_Theme"); // only the member is left
            EXPECT_EQ(agent().getTheme(), theme);
            doubles::runSql("CREATE VIEW View_Theme AS SELECT Key, Data FROM Misc");
        }
    }
}

TEST_F(ReloadData, RefreshesTheThemeAfterTheRowsWereFreed) {
    start();
    agent().reloadData(0);
    const Calls calls = doubles::calls();
    ASSERT_EQ(calls.size(), 4U);
    EXPECT_EQ(calls[2], kFree);
    EXPECT_EQ(calls[3], kReadTheme);
}

TEST_F(ReloadData, LeavesTheThemeAloneBelowSchemaLevelTwo) {
    doubles::database().openResult = -1;
    doubles::database().ready = 1;
    doubles::database().schemaLevel = 1;
    start();
    EXPECT_EQ(agent().reloadData(0), 1U);
    EXPECT_THAT(doubles::calls(), ElementsAre(kQuery, kPause, kFree));
    EXPECT_EQ(output() + errors(), "");
}

TEST_F(ReloadData, CallsUpTo16TimesAndPausesAfterEachCall) {
    for (int failures = 0; failures <= 15; ++failures) {
        start();
        for (int i = 1; i <= failures; ++i) {
            doubles::failNth(kQueryName, i, i);
        }
        EXPECT_EQ(agent().reloadData(2), 1U) << failures;
        Calls expected = repeated(failures + 1, {kQuery, kPause});
        expected.insert(expected.end(), {kFree, kReadTheme});
        EXPECT_THAT(doubles::calls(), ElementsAreArray(expected)) << failures;
        EXPECT_EQ(output(), "") << failures;
    }
}

TEST_F(ReloadData, GivesUpAfter16CallsAndFreesNothing) {
    start();
    doubles::failAlways(kQueryName, 7);
    EXPECT_EQ(agent().reloadData(0), 0U);
    Calls expected = repeated(16, {kQuery, kPause});
    expected.emplace_back(kReadTheme);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(expected));
    EXPECT_EQ(output(), "[reloadData]: Failed to call query_database_dat_with_condition(). The "
                        "return code: 7\n");
    EXPECT_EQ(errors(), "");
    expectDefaults();
}

TEST_F(ReloadData, ShowsTheReturnCodeOfTheLastCallInDecimalWhateverTheStream) {
    for (const int code : {-1, 26, 255}) {
        start();
        hexStream();
        doubles::failAlways(kQueryName, code);
        EXPECT_EQ(agent().reloadData(0), 0U);
        EXPECT_EQ(output(), "[reloadData]: Failed to call query_database_dat_with_condition(). "
                            "The return code: " +
                                std::to_string(code) + "\n");
        doubles::reset();
    }
}

TEST_F(ReloadData, RefusesAnyNumberOfRowsButOneAndStillFreesThem) {
    for (const std::size_t rows : {std::size_t{0}, std::size_t{2}, std::size_t{9}}) {
        for (const int mode : {0, 1, 2}) {
            start();
            storeOtherRow();
            doubles::database().rows.resize(rows, doubles::database().rows.front());
            EXPECT_EQ(agent().reloadData(mode), 0U);
            EXPECT_EQ(output(),
                      "[reloadData]: Incorrect row number: " + std::to_string(rows) + ".\n");
            EXPECT_THAT(doubles::calls(), ElementsAre(kQuery, kPause, kFree, kReadTheme));
            expectDefaults();
            EXPECT_FALSE(heldAlert());
            doubles::reset();
        }
    }
}

TEST_F(ReloadData, ShowsTheNumberOfRowsInTheBaseOfTheStream) {
    start();
    doubles::database().rows.resize(16, doubles::defaultSettings());
    agent().reloadData(0);
    EXPECT_EQ(output(), "[reloadData]: Incorrect row number: 16.\n");
    hexStream();
    agent().reloadData(0);
    EXPECT_EQ(output(), "[reloadData]: Incorrect row number: 10.\n");
}

TEST_F(ReloadData, ReadsABooleanAsTrueWhenItBeginsWithTrueInAnyCase) {
    const std::pair<const char*, bool> cases[] = {
        {"true", true}, {"TRUE", true}, {"tRuE", true}, {"trueish", true}, {"yes", false},
        {"1", false},   {"", false},    {"tru", false}, {" true", false},  {"false", false}};
    start();
    for (const auto& [text, value] : cases) {
        doubles::setSetting("InitBoot", text);
        doubles::setSetting("RoomAverage", "false");
        agent().reloadData(0);
        EXPECT_EQ(agent().getInitialBoot(), value) << text;
        EXPECT_FALSE(agent().getRoomAverage()) << text;
        doubles::setSetting("InitBoot", "false");
        doubles::setSetting("RoomAverage", text);
        agent().reloadData(0);
        EXPECT_EQ(agent().getRoomAverage(), value) << text;
        EXPECT_FALSE(agent().getInitialBoot()) << text;
    }
}

TEST_F(ReloadData, ReadsTheBrightnessAsDecimalText) {
    const std::pair<const char*, std::int32_t> cases[] = {
        {"abc", 0}, {"", 0},  {" 6", 6},  {"4 of 7", 4},
        {"-1", -1}, {"9", 9}, {"0x5", 0}, {"4294967297", std::numeric_limits<std::int32_t>::max()}};
    start();
    for (const auto& [text, level] : cases) {
        doubles::setSetting("Brightness", text);
        agent().reloadData(0);
        EXPECT_EQ(agent().getScreenBrightness(), level) << text;
    }
    EXPECT_THAT(doubles::callsOf("LCDBrightnessSet"), IsEmpty());
}

TEST_F(ReloadData, KeepsTextsAsTheyAreUpTo255Characters) {
    start();
    const std::string text = "it's \"" + std::string(249, 'x');
    doubles::setSetting("Language", text);
    agent().reloadData(0);
    EXPECT_EQ(agent().getLanguage(), text);
}

TEST_F(ReloadData, LooksForTheEmptyNameAfterAFailedOpen) {
    doubles::database().openResult = -1;
    start();
    agent().reloadData(2);
    EXPECT_EQ(doubles::calls().front(),
              "query_database_dat_with_condition(\"webgui_tbl\", \"where Name is ''\")");
}

// --- The alert ------------------------------------------------------------------------

class HasAlert : public SettingsModel {};

TEST_F(HasAlert, IsReadFromTheDatabaseEachTime) {
    start();
    EXPECT_FALSE(agent().hasAlert());
    EXPECT_THAT(doubles::calls(), ElementsAreArray(alertCheckThen({})));
    doubles::setSetting("HasAlert", "YES");
    EXPECT_TRUE(agent().hasAlert());
    EXPECT_THAT(doubles::calls(), ElementsAreArray(alertCheckThen({})));
}

TEST_F(HasAlert, IsTrueForExactlyYes) {
    const std::pair<const char*, bool> cases[] = {{"YES", true},  {"NO", false},   {"yes", false},
                                                  {"Yes", false}, {"YES ", false}, {"YESS", false},
                                                  {"", false},    {"true", false}};
    start();
    for (const auto& [text, alert] : cases) {
        doubles::setSetting("HasAlert", text);
        EXPECT_EQ(agent().hasAlert(), alert) << text;
    }
}

TEST_F(HasAlert, StaysAsItWasWhenTheRowCannotBeRead) {
    doubles::setSetting("HasAlert", "YES");
    start();
    doubles::setSetting("HasAlert", "NO");
    doubles::failAlways(kQueryName);
    EXPECT_TRUE(agent().hasAlert());
}

// --- Writing --------------------------------------------------------------------------

class UpdateData : public SettingsModel {};

TEST_F(UpdateData, WritesElevenColumnsWithoutNameAndAlert) {
    start();
    setPlainMembers();
    EXPECT_EQ(agent().updateData(0), 1);
    EXPECT_THAT(doubles::calls(), ElementsAre(updateCall(plainChanges()), kPause));
    EXPECT_EQ(output() + errors(), "");
    EXPECT_EQ(doubles::setting("Name"), "Zolan CMS Web GUI Settings");
    EXPECT_EQ(doubles::setting("HasAlert"), "NO");
    EXPECT_EQ(doubles::setting("Language"), "Deutsch");
}

TEST_F(UpdateData, LeavesTheAlertInTheDatabaseAlone) {
    start();
    doubles::setSetting("HasAlert", "YES");
    EXPECT_EQ(agent().updateData(0), 1);
    EXPECT_EQ(doubles::setting("HasAlert"), "YES");
}

TEST_F(UpdateData, FillsEachColumnRecordThroughTheLibrary) {
    doubles::reset(); // records tql_update_ssqlcol_struct again
    start();
    EXPECT_EQ(agent().updateData(0), 1);
    EXPECT_THAT(doubles::calls(),
                ElementsAre("tql_update_ssqlcol_struct(2, \"InitBoot\", \"false\")",
                            "tql_update_ssqlcol_struct(1, \"Language\", \"English\")",
                            "tql_update_ssqlcol_struct(0, \"Brightness\", \"5\")",
                            "tql_update_ssqlcol_struct(1, \"BacklightOff\", \"Never\")",
                            "tql_update_ssqlcol_struct(1, \"Screensaver\", \"Enabled\")",
                            "tql_update_ssqlcol_struct(1, \"Timer\", \"5 Minutes\")",
                            "tql_update_ssqlcol_struct(1, \"Measurement\", \"Metric\")",
                            "tql_update_ssqlcol_struct(1, \"DateFormat\", \"YYYY-MM-DD\")",
                            "tql_update_ssqlcol_struct(1, \"TimeFormat\", \"24\")",
                            "tql_update_ssqlcol_struct(2, \"RoomAverage\", \"true\")",
                            "tql_update_ssqlcol_struct(1, \"HiLoPeriod\", \"24 Hours\")",
                            updateCall(), kPause));
}

TEST_F(UpdateData, WritesTheBrightnessInDecimalWhateverTheStream) {
    doubles::setSetting("Brightness", "-26");
    start();
    hexStream();
    EXPECT_EQ(agent().updateData(0), 1);
    EXPECT_THAT(doubles::calls(), ElementsAre(updateCall({{"Brightness", "-26"}}), kPause));
}

TEST_F(UpdateData, InsertsThirteenColumnsWithoutAnAlert) {
    doubles::setSetting("HasAlert", "YES");
    start();
    for (const int flag : {1, 2, -1}) {
        EXPECT_EQ(agent().updateData(flag), 1);
        EXPECT_THAT(
            doubles::calls(),
            ElementsAre("insert_database_table_entry_struct(\"webgui_tbl\", [Name:1=Zolan CMS Web "
                        "GUI Settings, InitBoot:2=false, Language:1=English, Brightness:0=5, "
                        "BacklightOff:1=Never, Screensaver:1=Enabled, Timer:1=5 Minutes, "
                        "Measurement:1=Metric, DateFormat:1=YYYY-MM-DD, TimeFormat:1=24, "
                        "HasAlert:1=NO, RoomAverage:2=true, HiLoPeriod:1=24 Hours])",
                        kPause));
    }
    EXPECT_EQ(doubles::database().rows.size(), 4U);
    EXPECT_TRUE(heldAlert()); // the member is not changed
}

TEST_F(UpdateData, CallsUpTo16TimesAndPausesAfterEachCall) {
    const std::pair<int, const char*> kinds[] = {{0, kUpdate}, {1, kInsert}};
    for (const auto& [flag, function] : kinds) {
        for (int failures = 0; failures <= 15; ++failures) {
            start();
            for (int i = 1; i <= failures; ++i) {
                doubles::failNth(function, i, i);
            }
            EXPECT_EQ(agent().updateData(flag), 1) << function << failures;
            const Calls calls = doubles::calls();
            ASSERT_EQ(calls.size(), 2U * (static_cast<unsigned int>(failures) + 1)) << function;
            for (std::size_t i = 0; i < calls.size(); i += 2) {
                EXPECT_THAT(calls[i], testing::StartsWith(function));
                EXPECT_EQ(calls[i], calls[0]);
                EXPECT_EQ(calls[i + 1], kPause);
            }
            EXPECT_EQ(output(), "");
        }
    }
}

TEST_F(UpdateData, GivesUpAfter16CallsAndKeepsTheNewMembers) {
    const std::pair<int, const char*> kinds[] = {{0, kUpdate}, {1, kInsert}};
    for (const auto& [flag, function] : kinds) {
        start();
        setPlainMembers();
        doubles::failAlways(function, 16);
        EXPECT_EQ(agent().updateData(flag), 0);
        const Calls calls = doubles::calls();
        EXPECT_EQ(calls.size(), 32U);
        EXPECT_EQ(std::ranges::count(calls, kPause), 16);
        EXPECT_EQ(output(), "[updateData]: Failed to call " + std::string(function) + "().\n");
        EXPECT_EQ(errors(), "");
        EXPECT_EQ(agent().getLanguage(), "Deutsch");
        EXPECT_EQ(agent().getHiLoPeriod(), "1 Hour");
        EXPECT_EQ(doubles::setting("Language"), "English");
    }
}

// --- Accessors ------------------------------------------------------------------------

TEST_F(SettingsModel, PlainSettersStoreAndCallNothing) {
    start();
    setPlainMembers();
    EXPECT_TRUE(agent().getInitialBoot());
    EXPECT_EQ(agent().getLanguage(), "Deutsch");
    EXPECT_EQ(agent().getActiveAlarmScreensaver(), "Disabled");
    EXPECT_EQ(agent().getInactivityTimer(), "9 Minutes");
    EXPECT_EQ(agent().getMeasurementSystem(), "Imperial");
    EXPECT_EQ(agent().getDateFormat(), "DD.MM.YYYY");
    EXPECT_EQ(agent().getTimeFormat(), "12");
    EXPECT_FALSE(agent().getRoomAverage());
    EXPECT_EQ(agent().getHiLoPeriod(), "1 Hour");
    EXPECT_THAT(doubles::calls(), IsEmpty());
    EXPECT_EQ(output() + errors(), "");
    EXPECT_EQ(doubles::setting("Language"), "English");
}

TEST_F(SettingsModel, GettersReturnCopies) {
    start();
    agent().getLanguage() += "!";
    EXPECT_EQ(agent().getLanguage(), "English");
}

} // namespace
