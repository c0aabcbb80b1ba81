// The cooling unit as the library's calls see it: connects on demand, backs off while the unit is
// unreachable, and logs each outage once.
#pragma once

#include "platform/cooling/modbus_link.h"
#include "platform/outage.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

namespace cooling {

// For connecting and receiving the answer together.
constexpr std::chrono::milliseconds kAnswerBound{250};
// While the unit is unreachable, calls within this time of a failed attempt fail at once.
constexpr std::chrono::seconds kRetryInterval{1};
constexpr const char* kDefaultAddress = "127.0.0.1:502";

// Thread: any. Calls wait for each other; each takes at most twice kAnswerBound.
class CoolingUnit {
public:
    // Read or write one register. Every call takes the address from COOLING_UNIT anew.
    //   function  named in log lines
    //   value     set only on success
    // Return false on failure, which is logged.
    bool read(const char* function, int number, std::uint16_t& value);
    bool write(const char* function, int number, std::uint16_t value);

private:
    using Question = std::function<ModbusResult(Deadline)>;

    bool ask(const char* function, Outage& refusals, const Question& question);
    bool useAddress(const char* function);
    ModbusResult askBounded(const Question& question);

    std::mutex mutex_; // guards everything below
    std::string addressText_;
    UnitAddress address_;
    ModbusLink link_;
    Deadline nextTry_{};
    Outage badAddress_, away_, refusedReads_, refusedWrites_;
};

} // namespace cooling
