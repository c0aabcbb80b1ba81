// The cooling unit as the library's calls see it: reached at need, given up for a while when
// it is away, told about once per outage. What the registers mean is register_map.h's.
#pragma once

#include "platform/cooling/modbus_link.h"
#include "platform/outage.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

namespace cooling {

// For connecting and being answered together.
constexpr std::chrono::milliseconds kAnswerBound{250};
// While the unit is away, calls within this time after a vain try fail at once.
constexpr std::chrono::seconds kTryAgainAfter{1};
constexpr const char* kDefaultAddress = "127.0.0.1:502";

// Thread: any. Calls take turns; each holds its turn for at most twice kAnswerBound.
class CoolingUnit {
public:
    // One register read or written. The address comes from COOLING_UNIT at every call.
    //   function  whose name the lines carry
    //   value     written only on success
    bool read(const char* function, int number, std::uint16_t& value);
    bool write(const char* function, int number, std::uint16_t value);

private:
    using Question = std::function<Answer(Deadline)>;

    bool ask(const char* function, Outage& refusals, const Question& question);
    bool useAddress(const char* function);
    Answer askBounded(const Question& question);

    std::mutex mutex_; // guards everything below
    std::string addressText_;
    UnitAddress address_;
    ModbusLink link_;
    Deadline nextTry_{};
    Outage badAddress_, away_, refusedReads_, refusedWrites_;
};

} // namespace cooling
