// The doubles of the LCD panel and of the cooling unit.
#include "tests/doubles/device_double.h"

#include "tests/doubles/recorder.h"

#include "text.h"

namespace doubles {

CoolingUnit& coolingUnit() {
    static auto* const unit = new CoolingUnit;
    return *unit;
}

namespace {

int enterInRange(const char* function, int value, int lowest, int highest) {
    const detail::Lock lock(detail::mutex());
    const int code = detail::enter(function, detail::arguments(value));
    return code == 0 && (value < lowest || value > highest) ? detail::refused() : code;
}

} // namespace

namespace detail {

void resetDevices() {
    coolingUnit() = CoolingUnit{};
}

} // namespace detail
} // namespace doubles

using doubles::detail::arguments;
using doubles::detail::enter;
using doubles::detail::Lock;
using doubles::detail::mutex;
using doubles::detail::refused;

extern "C" {

int LCDBrightnessSet(int level) {
    return doubles::enterInRange("LCDBrightnessSet", level, 1, 7);
}

int LCDBlankTimeOutSet(int seconds) {
    return doubles::enterInRange("LCDBlankTimeOutSet", seconds, 0, 32767);
}

int LCDBlank(int mode) {
    return doubles::enterInRange("LCDBlank", mode, 0, 1);
}

int xset_env_init(void) {
    return enter("xset_env_init", "");
}

int CoolSetTempScale(int unit, int scale, const char* user, int flags) {
    const Lock lock(mutex());
    const int code = enter("CoolSetTempScale", arguments(unit, scale, user, flags));
    if (code != 0 || unit != 0 || flags != 0 || (scale != 0 && scale != 1)) {
        return code != 0 ? code : refused();
    }
    doubles::coolingUnit().scale = scale;
    return 0;
}

int CoolGetTempScale(int unit, int* scale, int flags, char* text) {
    const Lock lock(mutex());
    const int code = enter("CoolGetTempScale", arguments(unit, flags));
    const bool isRead = code == 0 && unit == 0 && flags == 0 && scale != nullptr;
    if (text != nullptr) {
        copyBounded(text, 1024, isRead ? doubles::coolingUnit().text : "");
    }
    if (!isRead) {
        return code != 0 ? code : refused();
    }
    *scale = doubles::coolingUnit().scale;
    return 0;
}

} // extern "C"
