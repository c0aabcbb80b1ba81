// One Modbus TCP connection on which every step ends before a deadline.
#pragma once

#include "platform/cooling/unit_address.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <modbus/modbus.h>

namespace cooling {

using Deadline = std::chrono::steady_clock::time_point;

// How one request and its answer ended.
enum class ModbusResult {
    done,
    refused, // the unit answered with an exception; the connection stays open
    broken,  // no answer in time, or one that does not fit the request; the connection is closed
};

// Thread: one at a time.
class ModbusLink {
public:
    bool isOpen() const { return context_ != nullptr; }

    // Connects. Returns false on failure; error() has the reason.
    bool open(const UnitAddress& address, Deadline deadline);
    void close() { context_.reset(); }

    // Both need an open link and close a broken one: a late answer to this request must not be
    // taken for the answer to the next.
    //   value  set only when done
    ModbusResult readRegister(int number, std::uint16_t& value, Deadline deadline);
    ModbusResult writeRegister(int number, std::uint16_t value, Deadline deadline);

    // Why the last step failed.
    const char* error() const { return modbus_strerror(error_); }

private:
    struct Free {
        void operator()(modbus_t* context) const;
    };

    bool allowUntil(Deadline deadline);
    ModbusResult judge(bool done);

    std::unique_ptr<modbus_t, Free> context_;
    int error_ = 0;
};

} // namespace cooling
