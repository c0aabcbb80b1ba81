// The doubles of the LCD panel and of the cooling unit.
#include "tests/doubles/device_double.h"

#include "tests/doubles/recorder.h"

#include "text.h"

namespace doubles {

CoolingUnit& coolingUnit() {
    static auto* const unit = new CoolingUnit;
    return *unit;
}

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

extern "C" {

int LCDBrightnessSet(int level) {
    return enter("LCDBrightnessSet", arguments(level));
}

int LCDBlankTimeOutSet(int seconds) {
    return enter("LCDBlankTimeOutSet", arguments(seconds));
}

int LCDBlank(int mode) {
    return enter("LCDBlank", arguments(mode));
}

int xset_env_init(void) {
    return enter("xset_env_init", "");
}

int CoolSetTempScale(int unit, int scale, const char* user, int flags) {
    const Lock lock(mutex());
    const int code = enter("CoolSetTempScale", arguments(unit, scale, user, flags));
    if (code == 0) {
        doubles::coolingUnit().scale = scale;
    }
    return code;
}

int CoolGetTempScale(int unit, int* scale, int flags, char* text) {
    const Lock lock(mutex());
    const int code = enter("CoolGetTempScale", arguments(unit, flags));
    if (code == 0) {
        *scale = doubles::coolingUnit().scale;
        copyBounded(text, 1024, doubles::coolingUnit().text);
    }
    return code;
}

} // extern "C"
