// Runs the daemon behind the double, and lists the calls of an ordinary life.
#include "tests/service/daemon.h"

#include "tests/support/child_process.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace service_test {

namespace {

constexpr char kReadRow[] = "query_database_dat_with_condition(\"webgui_tbl\", "
                            "\"where Name is 'Zolan CMS Web GUI Settings'\")";
constexpr char kTree[] = "80000000-0000-0000-0000-00800000000";

Lines linesOf(const std::string& text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

// The sanitizer's library must come before the double.
std::string preloadedLibraries() {
    return std::string(ORVANE_SANITIZER_RUNTIME) + ' ' + ORVANE_DOUBLE;
}

std::string instance(int number) {
    return kTree + std::to_string(number);
}

std::string create(int number, const std::string& fields, int count) {
    return "osselCreateHashTable(ctx1, \"" + instance(number) + "\", [" + fields + "], " +
           std::to_string(count) + ")";
}

std::string remove(const std::string& key) {
    return "osselDeleteHash(ctx1, \"" + key + "\")";
}

std::string readField(const std::string& key, const std::string& field) {
    return "osselGetHashField(ctx1, \"" + key + "\", \"" + field + "\")";
}

std::string renew(int mode, int uuid, int flag) {
    return "osselRenewCollection(ctx1, " + std::to_string(mode) + ", \"schema-type\", \"uuid000" +
           std::to_string(uuid) + "-0000-0000-0000-000000000000\", " + std::to_string(flag) + ")";
}

std::string setOfOne(int uuid) {
    return "osselCreateSetTable(ctx1, \"uuid000" + std::to_string(uuid) +
           "-0000-0000-0000-000000000000\", {\"" + instance(0) + "\"}, 1)";
}

} // namespace

Lines Life::callsOf(const std::string& beginning) const {
    Lines found;
    std::ranges::copy_if(calls, std::back_inserter(found), [&beginning](const std::string& call) {
        return call.starts_with(beginning);
    });
    return found;
}

std::size_t Life::positionOf(const std::string& beginning) const {
    const auto found = std::ranges::find_if(
        calls, [&beginning](const std::string& call) { return call.starts_with(beginning); });
    return static_cast<std::size_t>(found - calls.begin());
}

std::string Life::outputAfterConstruction() const {
    return output.substr(output.find('\n') + 1);
}

Life live(const Lines& script, const std::map<std::string, std::string>& environment) {
    ::unsetenv("ManagingMode");
    const test::TemporaryFolder folder;
    std::string text;
    for (const std::string& line : script) {
        text += line + '\n';
    }
    test::writeFile(folder.file("script"), text);
    std::map<std::string, std::string> variables = environment;
    variables["DOUBLE_SCRIPT"] = folder.file("script");
    variables["DOUBLE_LOG"] = folder.file("log");
    variables.insert(test::preload(preloadedLibraries()));
    const test::Finished finished = test::run({ORVANE_DAEMON}, variables);
    Life life{finished.status, finished.output, finished.error,
              linesOf(test::readFile(folder.file("log")))};
    std::erase_if(life.calls, [](const std::string& call) { // noise
        return call.starts_with("tql_update_ssqlcol_struct(");
    });
    return life;
}

Lines joined(std::initializer_list<Lines> parts) {
    Lines all;
    for (const Lines& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Lines callsBeforeMain() {
    return {"ovrComSupport()", "ovrBindCAPIToOssel()", "osselRedisConnect()"};
}

Lines callsOfLookup() {
    return {
        "open(\"/var/database/CoolingUnitManagingMode.txt\", O_RDONLY | O_NONBLOCK | O_CLOEXEC)",
        ("olGetSchemaTypeIdByField(\"OsselSchemaInstances\", \"title\", "
         "\"#OrvaneWebGUI.1.0.0.WebGUI\")"),
        "olObjGetProperty(\"schema-type\", \"instanceCollection\")",
        readField("schema-type", "definitions"),
        readField("definitions", "WebGUI"),
        readField("webgui-type", "Actions"),
        readField("actions-type", "Oem"),
        readField("actions-type", "#WebGUI.TurnOffLCD"),
        readField("actions-type", "#WebGUI.GUIReady")};
}

Lines callsOfRegistration() {
    return {"ovrAddRunningThread(\"OrvaneWebGUI\")",
            "ovrAddRunningThread(\"OrvaneWebGUI\")",
            "ovrAddRunningThread(\"OrvaneWebGUI\")",
            "ovrcbIdSet(\"schema-type\")",
            "ovrRedisContextSet(ctx1)",
            "ovrHookFnSet(hook)",
            "ovrHookFnRedisRegister(\"OrvaneWebGUI\")"};
}

Lines callsOfInit() {
    return {
        "open_database(\"/var/database/webgui.db\", 2)",
        kReadRow,
        "usleep(200000)",
        "free_sql_tbl()",
        "xset_env_init()",
        "LCDBrightnessSet(5)",
        "LCDBlankTimeOutSet(0)",
        create(2, "typeID=", 1),
        create(3, "title=This action is used to turn off the LCD., target=, typeID=turnofflcd-type",
               3),
        create(4, "target=, typeID=guiready-type", 2),
        create(1,
               "Oem=" + instance(2) + ", typeID=actions-type, #WebGUI.TurnOffLCD=" + instance(3) +
                   ", #WebGUI.GUIReady=" + instance(4),
               4),
        create(0,
               "@odata.context=, @odata.id=, @odata.type=, ActiveAlarmScreensaver=Enabled, "
               "BacklightOff=Never, DateFormat=YYYY-MM-DD, Id=, InactivityTimer=5 Minutes, "
               "InitialBoot=false, Language=English, MeasurementSystem=Metric, Name=Zolan CMS "
               "Web GUI Settings, ScreenBrightness=5, TimeFormat=24, RoomAverage=true, "
               "HiLoPeriod=24 Hours, Theme=dark, Actions=" +
                   instance(1) + ", typeId=schema-type, typeID=webgui-type",
               20),
        "osselHashAppendTTLObject(ctx1, \"" + instance(0) + "\", 1)",
        "osselListRightPush(ctx1, \"collection\", \"" + instance(0) + "\")",
        "osselGenerateUUID(ctx1)",
        setOfOne(1),
        renew(0, 1, 0)};
}

Lines callsOfCleanUp() {
    return {readField(instance(0), "Actions"),
            readField(instance(1), "Oem"),
            remove(instance(2)),
            readField(instance(1), "#WebGUI.TurnOffLCD"),
            remove(instance(3)),
            readField(instance(1), "#WebGUI.GUIReady"),
            remove(instance(4)),
            remove(instance(1)),
            remove(instance(0)),
            remove("collection"),
            "osselGenerateUUID(ctx1)",
            setOfOne(2),
            renew(1, 2, 0),
            "close_database()"};
}

Lines callsOfExit() {
    return {"osselRedisDisconnect(ctx1)", "~ovrBindCAPIToOssel()", "~ovrComSupport()"};
}

} // namespace service_test
