// One kept connection, one retry on a fresh one, and the log lines of outages.
#include "platform/cooling/cooling_unit.h"

#include <cstdlib>

namespace cooling {

bool CoolingUnit::read(const char* function, int number, std::uint16_t& value) {
    return ask(function, refusedReads_,
               [&](Deadline deadline) { return link_.readRegister(number, value, deadline); });
}

bool CoolingUnit::write(const char* function, int number, std::uint16_t value) {
    return ask(function, refusedWrites_,
               [&](Deadline deadline) { return link_.writeRegister(number, value, deadline); });
}

bool CoolingUnit::ask(const char* function, Outage& refusals, const Question& question) {
    const std::lock_guard turn(mutex_);
    if (!useAddress(function) || (!link_.isOpen() && std::chrono::steady_clock::now() < nextTry_)) {
        return false;
    }
    const bool wasKept = link_.isOpen();
    ModbusResult result = askBounded(question);
    if (result == ModbusResult::broken && wasKept) {
        // Only now does the connection to a restarted unit prove dead. Reading and writing a
        // register are both safe to repeat.
        result = askBounded(question);
    }
    if (result == ModbusResult::broken) {
        nextTry_ = std::chrono::steady_clock::now() + kRetryInterval;
        away_.failed(function, "cooling unit ", addressText_, ": ", link_.error());
        return false;
    }
    if (away_.worked()) {
        logErrorLine(function, "cooling unit ", addressText_, " answers again");
    }
    if (result == ModbusResult::refused) {
        refusals.failed(function, "cooling unit ", addressText_, " refuses: ", link_.error());
        return false;
    }
    refusals.worked();
    return true;
}

// Reads the address from the environment; a new one discards everything known about the old one.
bool CoolingUnit::useAddress(const char* function) {
    const char* given = std::getenv("COOLING_UNIT");
    const std::string text = given == nullptr || *given == '\0' ? kDefaultAddress : given;
    if (text != addressText_) {
        addressText_ = text;
        link_.close();
        nextTry_ = {};
        for (Outage* outage : {&badAddress_, &away_, &refusedReads_, &refusedWrites_}) {
            outage->worked();
        }
    }
    const auto address = parseUnitAddress(text);
    if (!address) {
        badAddress_.failed(function, "COOLING_UNIT is \"", text, "\"; use ", kAllowedAddresses);
        return false;
    }
    address_ = *address;
    return true;
}

ModbusResult CoolingUnit::askBounded(const Question& question) {
    const Deadline deadline = std::chrono::steady_clock::now() + kAnswerBound;
    if (!link_.isOpen() && !link_.open(address_, deadline)) {
        return ModbusResult::broken;
    }
    return question(deadline);
}

} // namespace cooling
