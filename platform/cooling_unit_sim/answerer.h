// Turns requests of a Modbus client into answers with libmodbus; does not touch the network.
#pragma once

#include "platform/cooling_unit_sim/sockets.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <modbus/modbus.h>
#include <optional>
#include <vector>

namespace sim {

using Bytes = std::vector<std::uint8_t>;

// The length in bytes of the request at the beginning of `input`; 0 if it is not known yet, nothing
// if this is not a Modbus request.
std::optional<std::size_t> requestLength(const Bytes& input);

class Answerer {
public:
    // Throws std::runtime_error if it runs out of memory or sockets.
    Answerer();

    struct Answer {
        Bytes bytes;
        std::uint16_t scale; // of the register afterwards
    };

    // The proper answer to one whole request while the register holds `scale`. Answers other unit
    // ids as a gateway does that finds no such unit.
    Answer answer(const Bytes& request, std::uint16_t scale);

    // Answers the request with an exception, 1 to 11.
    Bytes exception(const Bytes& request, unsigned int code);

private:
    struct Free {
        void operator()(modbus_t* context) const { modbus_free(context); }
        void operator()(modbus_mapping_t* mapping) const { modbus_mapping_free(mapping); }
    };
    Bytes takeAnswer();

    Descriptor near_, far_; // libmodbus writes into one, answers are read from the other
    std::unique_ptr<modbus_t, Free> context_;
    std::unique_ptr<modbus_mapping_t, Free> registers_;
};

} // namespace sim
