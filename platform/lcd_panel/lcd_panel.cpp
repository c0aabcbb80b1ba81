// The C functions of liblcdpanel.so: range checks, and one line of log per outage.
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

// The X protocol carries the time-out in 16 signed bits; negative values are commands.
constexpr int kMaxTimeOutSeconds = 32767;

Outage backlightOutage;
Outage displayOutage;

// Runs the body of a C function and lets no exception out.
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
            displayOutage.failed(function,
                                 "DISPLAY is not set; name the panel's X server, e.g. :0");
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
    if (level < lcdpanel::kMinLevel || level > lcdpanel::kMaxLevel) {
        return kFailed;
    }
    return guarded("LCDBrightnessSet", backlightOutage, [&] {
        const auto folder = lcdpanel::backlightFolder();
        const std::string problem = folder.empty() ? std::string(lcdpanel::kBacklightClass) +
                                                         ": no backlight; name one in LCD_BACKLIGHT"
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
    if (seconds < 0 || seconds > kMaxTimeOutSeconds) {
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
    // NOLINTNEXTLINE(concurrency-mt-unsafe): called before other threads exist
    return ::setenv("DISPLAY", ":0", 1) == 0 ? kDone : kFailed;
}
