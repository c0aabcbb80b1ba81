// The settings: the in-memory copy of the settings row, the database that backs it, and what a
// setting does to the LCD panel.
//
// The single object is reached through G_WebGUIAgent. It has no lock: start-up runs alone, and the
// handlers' mutex serialises requests.
//
// Results are 1 done, 0 failed where stated so, unlike those of the store operations. Log lines go
// to standard output unless stated otherwise.
#pragma once

#include "platform/settings_database.h"

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

class WebGUIAgent {
public:
    // Opens and reads the database and applies brightness and blank time-out to the panel. If the
    // database cannot be opened, texts stay empty, numbers 0, and the panel is left alone.
    WebGUIAgent();
    ~WebGUIAgent();
    WebGUIAgent(const WebGUIAgent&) = delete;
    WebGUIAgent& operator=(const WebGUIAgent&) = delete;

    // --- Database, agent/settings_database.cpp ---

    // Runs one SQL text, cut to 1023 characters. If `collect` is not 0, stores the rows in
    // G_QueryResult. Returns 0; throws std::runtime_error on failure. A failed statement is logged
    // to standard error, a database that is not ready is not.
    int Run_SQL(std::string sql, int collect);

    // status   0 begin, 1 commit, 2 roll back; any other is refused, logged to standard error
    // result   1 done, 0 failed
    int Transaction(unsigned int status) noexcept;

    // --- Settings row, agent/settings_model.cpp ---

    // Reads the row: one to 16 attempts, each followed by 200 ms.
    //   mode     0 loads every member, 1 HasAlert, any other none; all of them load the theme
    //   result   1 done; 0 failed: the members of the row keep their values
    unsigned int reloadData(int mode);

    // Writes the row: one to 16 attempts, each followed by 200 ms.
    //   insertRow   0: updates all columns but Name and HasAlert; otherwise inserts a row whose
    //               HasAlert is "NO"
    //   result      1 done; 0 failed: the members keep their new values
    int updateData(int insertRow);

    std::string getName() const { return name_; }

    void setInitialBoot(bool value) { initialBoot_ = value ? 1 : 0; }
    bool getInitialBoot() const { return initialBoot_ != 0; }

    void setLanguage(std::string value) { language_ = std::move(value); }
    std::string getLanguage() const { return language_; }

    std::int32_t getScreenBrightness() const { return screenBrightness_; }
    std::string getBacklightOff() const { return backlightOff_; }

    void setActiveAlarmScreensaver(std::string value) {
        activeAlarmScreensaver_ = std::move(value);
    }
    std::string getActiveAlarmScreensaver() const { return activeAlarmScreensaver_; }

    void setInactivityTimer(std::string value) { inactivityTimer_ = std::move(value); }
    std::string getInactivityTimer() const { return inactivityTimer_; }

    void setMeasurementSystem(std::string value) { measurementSystem_ = std::move(value); }
    std::string getMeasurementSystem() const { return measurementSystem_; }

    void setDateFormat(std::string value) { dateFormat_ = std::move(value); }
    std::string getDateFormat() const { return dateFormat_; }

    void setTimeFormat(std::string value) { timeFormat_ = std::move(value); }
    std::string getTimeFormat() const { return timeFormat_; }

    // Reads HasAlert from the database. True for exactly "YES".
    bool hasAlert();

    void setRoomAverage(bool value) { roomAverage_ = value ? 1 : 0; }
    bool getRoomAverage() const { return roomAverage_ != 0; }

    void setHiLoPeriod(std::string value) { hiLoPeriod_ = std::move(value); }
    std::string getHiLoPeriod() const { return hiLoPeriod_; }

    // --- Theme, agent/theme_storage.cpp ---

    // Stores "dark" or "light" in the database at once. Any other text and any failure is logged
    // and leaves the member alone. Ends the process if the row count is not a number.
    void setTheme(std::string value) noexcept;

    // Returns the theme from the database, whatever text that is. Stores the default "dark" if
    // there is none. On failure returns the member.
    std::string getTheme() noexcept;

    // --- Panel, agent/display_control.cpp ---

    // Applies a level from 1 to 7 if it differs from the present one. Logs and ignores any other.
    void setScreenBrightness(std::int32_t level);

    // Sets the panel's blank time-out to the BacklightOff choice. Returns 1 done, 0 unknown choice.
    int applyBacklightOff();

    // Stores a new choice and applies it unless an alert is shown. Stores an unknown text too, but
    // logs it.
    //   result   1 applied, or an alert is shown; 0 equal to the present text, or unknown
    int setBacklightOff(std::string text);

    // Darkens the panel unless an alert is shown. Returns 1.
    int turnOffLCD();

private:
    // The first schema level with theme storage.
    static constexpr int kSchemaLevelWithTheme = 2;

    bool openDatabase();
    unsigned int readRow(int mode);
    void loadRow(const SettingsColumn* columns);
    int insertRowAtPace(const SettingsRow& row);
    int updateRowAtPace(const SettingsRow& row);
    void adoptTheme();

    SettingsDatabase database_{};

    // In table order, booleans with 32 bits.
    std::string name_;
    std::int32_t initialBoot_ = 0;
    std::string language_;
    std::int32_t screenBrightness_ = 0;
    std::string backlightOff_;
    std::string activeAlarmScreensaver_;
    std::string inactivityTimer_;
    std::string measurementSystem_;
    std::string dateFormat_;
    std::string timeFormat_;
    std::string hasAlert_; // "YES" or "NO"; written to the database by others
    std::int32_t roomAverage_ = 0;
    std::string hiLoPeriod_;

    std::string theme_; // from the table Misc
};
static_assert(std::is_standard_layout_v<WebGUIAgent>, "the database handle comes first");
