// Requests of a Modbus client to answers, by libmodbus; nothing goes over a network here.
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

// How many bytes the request at the beginning of `input` has. 0 while that is not known yet;
// nothing when this is no Modbus request.
std::optional<std::size_t> requestLength(const Bytes& input);

class Answerer {
public:
    // Throws std::runtime_error when out of memory or sockets.
    Answerer();

    struct Answer {
        Bytes bytes;
        std::uint16_t scale; // what the register holds afterwards
    };

    // The right answer to one whole request while the register holds `scale`. Other unit ids
    // than the unit's are answered like a gateway that finds nothing there.
    Answer answer(const Bytes& request, std::uint16_t scale);

    // An exception, 1 to 11, in answer to the request.
    Bytes exception(const Bytes& request, unsigned int code);

private:
    struct Free {
        void operator()(modbus_t* context) const { modbus_free(context); }
        void operator()(modbus_mapping_t* mapping) const { modbus_mapping_free(mapping); }
    };
    Bytes takeAnswer();

    Descriptor near_, far_; // libmodbus answers into the one, the bytes come out of the other
    std::unique_ptr<modbus_t, Free> context_;
    std::unique_ptr<modbus_mapping_t, Free> registers_;
};

} // namespace sim
