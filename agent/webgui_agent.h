// The settings: the in-memory copy of the one settings row, with the database that backs it and
// the effects that a setting has on the LCD panel.
//
// There is one object, reached through G_WebGUIAgent. It has no lock: start-up runs alone, and
// the message handlers serialise what requests do.
//
// Results named "1 done, 0 failed" are unlike those of the store operations. Lines of log go to
// standard output unless stated.
#pragma once

#include "platform/settings_database.h"

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

class WebGUIAgent {
public:
    // Opens and reads the database and brings the panel to the settings read. A database that
    // cannot be opened leaves texts empty and numbers 0, and the panel alone.
    WebGUIAgent();
    ~WebGUIAgent();
    WebGUIAgent(const WebGUIAgent&) = delete;
    WebGUIAgent& operator=(const WebGUIAgent&) = delete;

    // --- Database, agent/settings_database.cpp ---

    // Runs one SQL text, cut to 1023 characters, and with `collect` not 0 keeps its rows in
    // G_QueryResult. Returns 0; throws std::runtime_error on any failure, which is said on
    // standard error unless the database is not ready.
    int Run_SQL(std::string sql, int collect);

    // status   0 begin, 1 commit, 2 roll back; another one is refused on standard error
    // result   1 done, 0 failed
    int Transaction(unsigned int status) noexcept;

    // --- Settings row, agent/settings_model.cpp ---

    // Reads the row.
    //   mode     0 every member, 1 HasAlert, any other none; the theme in every case
    //   result   1 done; 0 failed: the members keep their values
    // One to 16 calls of the database, 200 ms after each.
    unsigned int reloadData(int mode);

    // Writes the row.
    //   insertRow   not 0: adds the row, without an alert; 0: changes it, but for Name and HasAlert
    //   result      1 done; 0 failed: the members keep the values that were not written
    // One to 16 calls of the database, 200 ms after each.
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

    // Reads HasAlert from the database first. True for exactly "YES".
    bool hasAlert();

    void setRoomAverage(bool value) { roomAverage_ = value ? 1 : 0; }
    bool getRoomAverage() const { return roomAverage_ != 0; }

    void setHiLoPeriod(std::string value) { hiLoPeriod_ = std::move(value); }
    std::string getHiLoPeriod() const { return hiLoPeriod_; }

    // --- Theme, agent/theme_storage.cpp ---

    // Stores "dark" or "light" in the database at once. Any other text, and any failure, is
    // logged and changes nothing. A count in the database that is no number ends the process.
    void setTheme(std::string value) noexcept;

    // Reads the theme from the database, any text; stores the default "dark" where there is
    // none. On failure the value in memory.
    std::string getTheme() noexcept;

    // --- Panel, agent/display_control.cpp ---

    // A level from 1 to 7 that differs from the present one goes to the panel; any other level
    // is logged and ignored.
    void setScreenBrightness(std::int32_t level);

    // Brings the panel's blank time-out to the BacklightOff choice. Returns 1 done, 0 no choice.
    int applyBacklightOff();

    // Stores a new choice and applies it unless an alert is shown. An unknown text is logged and
    // stays stored.
    //   result   1 applied or an alert is shown; 0 equal to the present text, or unknown
    int setBacklightOff(std::string text);

    // Darkens the panel unless an alert is shown. Returns 1.
    int turnOffLCD();

private:
    // From this schema level on the database has theme storage.
    static constexpr int kSchemaLevelWithTheme = 2;

    bool openDatabase();
    unsigned int readRow(int mode);
    void loadRow(const SettingsColumn* columns);
    int insertRowAtPace(const SettingsRow& row);
    int updateRowAtPace(const SettingsRow& row);
    void adoptTheme();

    // Closed by the destructor before the texts are released.
    SettingsDatabase database_{};

    // In the order of the table's columns; booleans have 32 bits as they do in the row.
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
    std::string hasAlert_; // "YES" or "NO"; set by others in the database, only read here
    std::int32_t roomAverage_ = 0;
    std::string hiLoPeriod_;

    std::string theme_; // kept in the table Misc
};
static_assert(std::is_standard_layout_v<WebGUIAgent>, "the database handle lies at its beginning");
