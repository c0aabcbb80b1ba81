// The C functions of libcooling.so: checks what goes in, describes what comes out.
#include "platform/cooling.h"

#include "platform/cooling/cooling_unit.h"
#include "platform/cooling/register_map.h"
#include "text.h"

#include <exception>
#include <string>

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;

cooling::CoolingUnit& theUnit() {
    static cooling::CoolingUnit unit;
    return unit;
}

// The caller's text has room for 1024 characters; all texts here are far shorter.
void setText(char* destination, const std::string& text) {
    if (destination != nullptr) {
        copyBounded(destination, text.size() + 1, text);
    }
}

std::string describe(std::uint16_t scale) {
    switch (scale) {
    case cooling::kImperial:
        return "Imperial";
    case cooling::kMetric:
        return "Metric";
    default:
        return "unknown scale " + std::to_string(scale);
    }
}

} // namespace

// The register has no room for the user's name: it is not sent.
int CoolSetTempScale(int unit, int scale, const char* /*user*/, int flags) {
    if (unit != 0 || flags != 0 || (scale != cooling::kImperial && scale != cooling::kMetric)) {
        return kFailed;
    }
    try {
        const auto value = static_cast<std::uint16_t>(scale);
        const bool done = theUnit().write("CoolSetTempScale", cooling::kTempScaleRegister, value);
        return done ? kDone : kFailed;
    } catch (const std::exception&) { // out of memory
        return kFailed;
    }
}

int CoolGetTempScale(int unit, int* scale, int flags, char* text) {
    setText(text, {});
    if (unit != 0 || flags != 0 || scale == nullptr) {
        return kFailed;
    }
    try {
        std::uint16_t value = 0;
        if (!theUnit().read("CoolGetTempScale", cooling::kTempScaleRegister, value)) {
            return kFailed;
        }
        *scale = value;
        setText(text, describe(value));
        return kDone;
    } catch (const std::exception&) { // out of memory
        return kFailed;
    }
}
