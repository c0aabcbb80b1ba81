// Which calls and lines of the settings agent must follow, depending on the outcome of each call:
// settings row, theme, panel.
#pragma once

#include "tests/fault_sweep/replay.h"

#include <string>

namespace fault_sweep {

// The settings as far as the next calls depend on them.
struct Settings {
    bool ready = true;
    int schemaLevel = 2;
    std::string backlightOff = "Never";
    int screenBrightness = 5;
    std::string measurementSystem = "Metric";
    bool hasAlert = false;
};

class ExpectedSettings {
public:
    // The settings of an agent that has loaded nothing yet; `stored` is in the database.
    ExpectedSettings(Replay& replay, Settings stored, bool loaded, bool hasThemeRow);

    void construct();
    bool updateData();
    bool hasAlert();
    void setBacklightOff(const std::string& text);
    void setScreenBrightness(int level);
    void setTheme(const std::string& value);
    void getTheme();
    void close() { replay_.take("close_database"); }

    Settings& now() { return now_; }

private:
    void reload(bool everything);
    bool applyBacklightOff();
    bool runSql(const std::string& statement);

    Replay& replay_;
    Settings stored_;
    Settings now_;
    bool hasThemeRow_;
};

} // namespace fault_sweep
