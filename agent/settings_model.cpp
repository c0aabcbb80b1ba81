// Reading and writing the settings row through the row helpers of the settings database, at a fixed
// pace.
#include "agent/webgui_agent.h"
#include "log_line.h"
#include "platform/lcd_panel.h"
#include "text.h"

#include <array>
#include <cstdio>
#include <memory>
#include <unistd.h>

namespace {

constexpr char kTable[] = "webgui_tbl";
constexpr char kRowName[] = "Zolan CMS Web GUI Settings";
constexpr char kAlert[] = "YES";

// A failed call is repeated at this pace. Meant: the pause follows a successful call too.
constexpr useconds_t kPauseMicroseconds = 200000;
constexpr int kMaxCalls = 16;

// Columns in table order.
enum Column {
    kName,
    kInitBoot,
    kLanguage,
    kBrightness,
    kBacklightOff,
    kScreensaver,
    kTimer,
    kMeasurement,
    kDateFormat,
    kTimeFormat,
    kHasAlert,
    kRoomAverage,
    kHiLoPeriod,
    kColumnCount
};

template <typename Call>
int callAtPace(Call call) {
    int code = 0;
    for (int calls = 0; calls < kMaxCalls; ++calls) {
        code = call();
        ::usleep(kPauseMicroseconds);
        if (code == 0) {
            break;
        }
    }
    return code;
}

struct TableFree {
    void operator()(SettingsTable* table) const noexcept { free_sql_tbl(table); }
};

// The columns of a row to write, in the order of the calls of `add`.
class RowBuilder {
public:
    void add(SettingsColumnType type, const char* name, const std::string& value) {
        tql_update_ssqlcol_struct(&columns_[count_++], type, name, value.c_str());
    }
    SettingsRow row() { return {count_, columns_.data()}; }

private:
    std::array<SettingsColumn, kColumnCount> columns_{};
    unsigned int count_ = 0;
};

} // namespace

WebGUIAgent::WebGUIAgent() {
    if (!openDatabase()) {
        return;
    }
    name_ = kRowName;
    reloadData(0);
    xset_env_init();
    // Meant: the level as read, in range or not.
    LCDBrightnessSet(screenBrightness_);
    if (hasAlert_ != kAlert) {
        applyBacklightOff();
    } else {
        LCDBlankTimeOutSet(0);
    }
}

WebGUIAgent::~WebGUIAgent() {
    close_database(&database_);
}

unsigned int WebGUIAgent::reloadData(int mode) {
    const unsigned int result = readRow(mode);
    adoptTheme(); // even if the row could not be read
    return result;
}

unsigned int WebGUIAgent::readRow(int mode) {
    std::array<char, 256> condition{};
    std::snprintf(condition.data(), condition.size(), "where %s is '%s'", "Name", name_.c_str());
    SettingsTable table{};
    const int code = callAtPace([&] {
        return query_database_dat_with_condition(&database_, kTable, &table, condition.data());
    });
    if (code != 0) {
        logLine("reloadData",
                "Failed to call query_database_dat_with_condition(). The return code: ",
                std::to_string(code));
        return 0;
    }
    const std::unique_ptr<SettingsTable, TableFree> owner(&table);
    if (table.rowCount != 1) {
        logLine("reloadData", "Incorrect row number: ", table.rowCount, ".");
        return 0;
    }
    const SettingsColumn* columns = table.rows[1];
    if (mode == 0) {
        loadRow(columns);
    } else if (mode == 1) {
        hasAlert_ = columns[kHasAlert].value;
    }
    return 1;
}

void WebGUIAgent::loadRow(const SettingsColumn* columns) {
    initialBoot_ = isTrueText(columns[kInitBoot].value) ? 1 : 0;
    language_ = columns[kLanguage].value;
    screenBrightness_ = parseDecimal(columns[kBrightness].value);
    backlightOff_ = columns[kBacklightOff].value;
    activeAlarmScreensaver_ = columns[kScreensaver].value;
    inactivityTimer_ = columns[kTimer].value;
    measurementSystem_ = columns[kMeasurement].value;
    dateFormat_ = columns[kDateFormat].value;
    timeFormat_ = columns[kTimeFormat].value;
    hasAlert_ = columns[kHasAlert].value;
    roomAverage_ = isTrueText(columns[kRoomAverage].value) ? 1 : 0;
    hiLoPeriod_ = columns[kHiLoPeriod].value;
}

int WebGUIAgent::updateData(int insertRow) {
    const bool insert = insertRow != 0;
    RowBuilder builder;
    if (insert) {
        builder.add(kSettingsText, "Name", name_);
    }
    builder.add(kSettingsBoolean, "InitBoot", booleanText(getInitialBoot()));
    builder.add(kSettingsText, "Language", language_);
    builder.add(kSettingsNumber, "Brightness", std::to_string(screenBrightness_));
    builder.add(kSettingsText, "BacklightOff", backlightOff_);
    builder.add(kSettingsText, "Screensaver", activeAlarmScreensaver_);
    builder.add(kSettingsText, "Timer", inactivityTimer_);
    builder.add(kSettingsText, "Measurement", measurementSystem_);
    builder.add(kSettingsText, "DateFormat", dateFormat_);
    builder.add(kSettingsText, "TimeFormat", timeFormat_);
    if (insert) {
        builder.add(kSettingsText, "HasAlert", "NO");
    }
    builder.add(kSettingsBoolean, "RoomAverage", booleanText(getRoomAverage()));
    builder.add(kSettingsText, "HiLoPeriod", hiLoPeriod_);
    const SettingsRow row = builder.row();
    return insert ? insertRowAtPace(row) : updateRowAtPace(row);
}

int WebGUIAgent::insertRowAtPace(const SettingsRow& row) {
    const int code =
        callAtPace([&] { return insert_database_table_entry_struct(&database_, kTable, &row); });
    if (code != 0) {
        logLine("updateData", "Failed to call insert_database_table_entry_struct().");
        return 0;
    }
    return 1;
}

int WebGUIAgent::updateRowAtPace(const SettingsRow& row) {
    std::array<char, 256> condition{};
    std::snprintf(condition.data(), condition.size(), " where %s is '%s'", "Name", name_.c_str());
    const int code = callAtPace([&] {
        return update_database_table_with_condition(&database_, kTable, &row, condition.data());
    });
    if (code != 0) {
        logLine("updateData", "Failed to call update_database_table_with_condition().");
        return 0;
    }
    return 1;
}

bool WebGUIAgent::hasAlert() {
    reloadData(1);
    return hasAlert_ == kAlert;
}
