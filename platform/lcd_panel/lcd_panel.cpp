// The C functions of liblcdpanel.so: which values are taken, and one line per outage. How the
// panel is reached is backlight.cpp's and screen_saver.cpp's.
#include "platform/lcd_panel.h"

#include "platform/lcd_panel/backlight.h"
#include "platform/lcd_panel/screen_saver.h"
#include "platform/outage.h"

#include <cstdlib>
#include <exception>
#include <string>

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;

// The X protocol carries the time-out in 16 bits with a sign; negative ones are commands.
constexpr int kLongestTimeOutSeconds = 32767;

Outage backlightOutage;
Outage displayOutage;

// Runs the body of a C function; no exception leaves it.
template <typename Body>
int guarded(const char* function, Outage& outage, Body body) {
    try {
        return body();
    } catch (const std::exception& error) {
        outage.failed(function, error.what());
        return kFailed;
    }
}

int changeSaver(const char* function, const lcdpanel::Change& change) {
    return guarded(function, displayOutage, [&] {
        const char* display = std::getenv("DISPLAY");
        if (display == nullptr || *display == '\0') {
            displayOutage.failed(function, "DISPLAY is not set");
            return kFailed;
        }
        const lcdpanel::Outcome outcome = lcdpanel::changeWithinBound(display, change);
        if (outcome != lcdpanel::Outcome::done) {
            displayOutage.failed(function, "display ", display, ": ", lcdpanel::describe(outcome));
            return kFailed;
        }
        displayOutage.worked();
        return kDone;
    });
}

} // namespace

int LCDBrightnessSet(int level) {
    if (level < lcdpanel::kLowestLevel || level > lcdpanel::kHighestLevel) {
        return kFailed;
    }
    return guarded("LCDBrightnessSet", backlightOutage, [&] {
        const auto folder = lcdpanel::backlightFolder();
        const std::string problem = folder.empty()
                                        ? std::string(lcdpanel::kBacklightClass) + ": no backlight"
                                        : lcdpanel::setBrightness(folder, level);
        if (!problem.empty()) {
            backlightOutage.failed("LCDBrightnessSet", problem);
            return kFailed;
        }
        backlightOutage.worked();
        return kDone;
    });
}

int LCDBlankTimeOutSet(int seconds) {
    if (seconds < 0 || seconds > kLongestTimeOutSeconds) {
        return kFailed;
    }
    return changeSaver("LCDBlankTimeOutSet", {lcdpanel::Change::Kind::timeOut, seconds});
}

int LCDBlank(int mode) {
    if (mode == 0) {
        return changeSaver("LCDBlank", {lcdpanel::Change::Kind::darken});
    }
    if (mode == 1) {
        return changeSaver("LCDBlank", {lcdpanel::Change::Kind::light});
    }
    return kFailed;
}

int xset_env_init() {
    const char* display = std::getenv("DISPLAY");
    if (display != nullptr && *display != '\0') {
        return kDone;
    }
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the agent is made before any other thread
    return ::setenv("DISPLAY", ":0", 1) == 0 ? kDone : kFailed;
}
