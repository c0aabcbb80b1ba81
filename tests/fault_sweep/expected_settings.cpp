// The settings agent, followed call by call. Written independently of the agent's sources.
#include "tests/fault_sweep/expected_settings.h"

#include <algorithm>
#include <array>
#include <sqlite3.h>
#include <utility>

namespace fault_sweep {

namespace {

using doubles::Fault;
using doubles::Shape;

constexpr int kMaxCalls = 16;
constexpr char kCondition[] = "where Name is 'Zolan CMS Web GUI Settings'";

constexpr std::array kBacklightChoices = {
    "Never",
    "Off After 1 Minute",
    "Off After 2 Minutes",
    "Off After 3 Minutes",
    "Off After 4 Minutes",
    "Off After 5 Minutes",
};

} // namespace

ExpectedSettings::ExpectedSettings(Replay& replay, Settings stored, bool loaded, bool hasThemeRow)
    : replay_(replay), stored_(std::move(stored)), hasThemeRow_(hasThemeRow) {
    if (loaded) {
        now_ = stored_;
    } else {
        now_ = {.ready = false,
                .schemaLevel = 0,
                .backlightOff = "",
                .screenBrightness = 0,
                .measurementSystem = ""};
    }
}

void ExpectedSettings::construct() {
    const Fault opening = replay_.take("open_database", {"/var/database/webgui.db"});
    if (opening.code == 0) {
        replay_.line("WebGUIAgent", "Database is ready ");
        now_.schemaLevel = 2;
        now_.ready = opening.shape != Shape::notReady;
    } else {
        replay_.line("WebGUIAgent", "Failed to call open_database(). The return code: " +
                                        std::to_string(opening.code));
        now_.schemaLevel = opening.shape == Shape::levelOne   ? 1
                           : opening.shape == Shape::levelTwo ? 2
                                                              : 0;
        if (now_.schemaLevel == 0) {
            return;
        }
    }
    reload(true);
    replay_.take("xset_env_init");
    replay_.take("LCDBrightnessSet");
    if (now_.hasAlert) {
        replay_.take("LCDBlankTimeOutSet");
    } else {
        applyBacklightOff();
    }
}

void ExpectedSettings::reload(bool everything) {
    Fault result;
    for (int calls = 0; calls < kMaxCalls; ++calls) {
        result = replay_.take("query_database_dat_with_condition", {"webgui_tbl", kCondition});
        replay_.take("usleep");
        if (result.code == 0) {
            break;
        }
    }
    if (result.code != 0) {
        replay_.line("reloadData",
                     "Failed to call query_database_dat_with_condition(). The return code: " +
                         std::to_string(result.code));
    } else {
        if (result.shape != Shape::none) {
            const std::string rows = result.shape == Shape::twoRows ? "2" : "0";
            replay_.line("reloadData", "Incorrect row number: " + rows + ".");
        } else if (everything) {
            now_.backlightOff = stored_.backlightOff;
            now_.screenBrightness = stored_.screenBrightness;
            now_.measurementSystem = stored_.measurementSystem;
            now_.hasAlert = stored_.hasAlert;
        } else {
            now_.hasAlert = stored_.hasAlert;
        }
        replay_.take("free_sql_tbl");
    }
    if (now_.schemaLevel > 1) {
        getTheme();
    }
}

bool ExpectedSettings::updateData() {
    for (int calls = 0; calls < kMaxCalls; ++calls) {
        const bool done = replay_.done("update_database_table_with_condition", {"webgui_tbl"});
        replay_.take("usleep");
        if (done) {
            return true;
        }
    }
    replay_.line("updateData", "Failed to call update_database_table_with_condition().");
    return false;
}

bool ExpectedSettings::hasAlert() {
    reload(false);
    return now_.hasAlert;
}

bool ExpectedSettings::applyBacklightOff() {
    if (std::ranges::find(kBacklightChoices, now_.backlightOff) == kBacklightChoices.end()) {
        return false;
    }
    replay_.take("LCDBlankTimeOutSet");
    return true;
}

void ExpectedSettings::setBacklightOff(const std::string& text) {
    if (text == now_.backlightOff) {
        return;
    }
    now_.backlightOff = text;
    if (!hasAlert() && !applyBacklightOff()) {
        replay_.line("setBacklightOff", "Failed to call setLCDBacklightOff().");
    }
}

void ExpectedSettings::setScreenBrightness(int level) {
    if (level < 1 || level > 7) {
        replay_.line("setScreenBrightness",
                     "Incorrect screen brightness(" + std::to_string(level) + ").");
    } else if (level != now_.screenBrightness) {
        now_.screenBrightness = level;
        replay_.take("LCDBrightnessSet");
    }
}

bool ExpectedSettings::runSql(const std::string& statement) {
    const Fault result = replay_.take("sqlite3_exec", {statement});
    if (!result) {
        return true;
    }
    replay_.errorLine("[Run_SQL]: Stopped due to failed to execute " + statement +
                      " with return code " + std::to_string(result.code));
    if (result.shape != Shape::noMessage) {
        replay_.errorLine(std::string("\tExtra Information: ") + sqlite3_errstr(result.code));
    }
    return false;
}

void ExpectedSettings::getTheme() {
    if (now_.schemaLevel < 2) {
        replay_.line("getTheme", "Database is not support Theme");
    } else if (!now_.ready) {
        replay_.line("getTheme", "Database is not ready");
    } else if (!runSql("SELECT Data from View_Theme WHERE Key = 'Theme'")) {
        replay_.errorLine("[getTheme]: Stopped due to failed ");
    } else if (!hasThemeRow_) {
        setTheme("dark");
    }
}

void ExpectedSettings::setTheme(const std::string& value) {
    if (now_.schemaLevel < 2) {
        replay_.line("setTheme", "Database is not support Theme");
        return;
    }
    if (!now_.ready) {
        replay_.line("setTheme", "Database is not ready");
        return;
    }
    if (value != "dark" && value != "light") {
        replay_.line("setTheme", "Invalided Theme value (" + value + ") ");
        return;
    }
    if (!runSql("SELECT count(*) from Misc WHERE Key = 'Theme'")) {
        replay_.errorLine("[setTheme: Stopped due to failed ");
        return;
    }
    const bool stored =
        runSql(hasThemeRow_ ? "UPDATE Misc SET Data = '" + value + "' WHERE Key = 'Theme'"
                            : "INSERT INTO Misc VALUES ( 'Theme', '" + value + "' )");
    if (!stored) {
        replay_.errorLine("[setTheme]: Stopped due to failed to update Theme data ");
        return;
    }
    hasThemeRow_ = true;
}

} // namespace fault_sweep
