// The settings that act on the LCD panel at once. The results of the panel's library are ignored.
#include "agent/webgui_agent.h"
#include "log_line.h"
#include "platform/lcd_panel.h"

#include <utility>

namespace {

constexpr std::int32_t kLowestBrightness = 1;
constexpr std::int32_t kHighestBrightness = 7;

struct BacklightOffChoice {
    const char* text;
    int seconds; // 0: never
};
constexpr BacklightOffChoice kBacklightOffChoices[] = {
    {"Never", 0},
    {"Off After 1 Minute", 60},
    {"Off After 2 Minutes", 120},
    {"Off After 3 Minutes", 180},
    {"Off After 4 Minutes", 240},
    {"Off After 5 Minutes", 300},
};

} // namespace

void WebGUIAgent::setScreenBrightness(std::int32_t level) {
    if (level < kLowestBrightness || level > kHighestBrightness) {
        logLine("setScreenBrightness", "Incorrect screen brightness(", std::to_string(level), ").");
        return;
    }
    if (level != screenBrightness_) {
        screenBrightness_ = level;
        LCDBrightnessSet(level);
    }
}

int WebGUIAgent::applyBacklightOff() {
    for (const BacklightOffChoice& choice : kBacklightOffChoices) {
        if (backlightOff_ == choice.text) {
            LCDBlankTimeOutSet(choice.seconds);
            return 1;
        }
    }
    return 0;
}

int WebGUIAgent::setBacklightOff(std::string text) {
    if (text == backlightOff_) {
        return 0;
    }
    backlightOff_ = std::move(text);
    if (hasAlert()) {
        return 1;
    }
    const int applied = applyBacklightOff();
    if (applied == 0) {
        logLine("setBacklightOff", "Failed to call setLCDBacklightOff().");
    }
    return applied;
}

int WebGUIAgent::turnOffLCD() {
    if (!hasAlert()) {
        LCDBlank(0);
    }
    return 1;
}
