// One Modbus TCP connection on which every step ends before a deadline. When to connect
// again is the business of cooling_unit.h.
#pragma once

#include "platform/cooling/unit_address.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <modbus/modbus.h>

namespace cooling {

using Deadline = std::chrono::steady_clock::time_point;

enum class Answer {
    done,
    refused, // the unit answered with an exception; the connection stays good
    broken,  // no answer in time, or not one to this question; the connection is closed
};

// Thread: one at a time.
class ModbusLink {
public:
    bool isOpen() const { return context_ != nullptr; }

    // Connects. After false the reason is in error().
    bool open(const UnitAddress& address, Deadline deadline);
    void close() { context_.reset(); }

    // Both need an open link. A broken one is closed afterwards: a late answer to this
    // question must not be taken for the answer to the next.
    //   value  written only when done
    Answer readRegister(int number, std::uint16_t& value, Deadline deadline);
    Answer writeRegister(int number, std::uint16_t value, Deadline deadline);

    // Why the last step was not done, as a text.
    const char* error() const { return modbus_strerror(error_); }

private:
    struct Free {
        void operator()(modbus_t* context) const;
    };

    bool allowUntil(Deadline deadline);
    Answer judge(bool done);

    std::unique_ptr<modbus_t, Free> context_;
    int error_ = 0;
};

} // namespace cooling
