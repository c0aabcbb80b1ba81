// Libmodbus answers into one end of a socket pair; the answer is read from the other end.
#include "platform/cooling_unit_sim/answerer.h"

#include "platform/cooling/register_map.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <sys/socket.h>

namespace sim {

namespace {

// The header of Modbus TCP: transaction, protocol (0), length of the rest, unit id.
constexpr std::size_t kLengthEnd = 6;
constexpr std::size_t kUnitIdPosition = 6;
constexpr std::size_t kMinRest = 2; // unit id and function

// Zero-filled room for the longest request: libmodbus reads as much as a request announces.
using Room = std::array<std::uint8_t, MODBUS_TCP_MAX_ADU_LENGTH>;

Room inRoom(const Bytes& request) {
    Room room{};
    std::copy_n(request.begin(), std::min(request.size(), room.size()), room.begin());
    return room;
}

} // namespace

std::optional<std::size_t> requestLength(const Bytes& input) {
    if (input.size() < kLengthEnd) {
        return 0;
    }
    const std::size_t rest = input[4] * std::size_t{256} + input[5];
    const bool isModbus = input[2] == 0 && input[3] == 0;
    if (!isModbus || rest < kMinRest || kLengthEnd + rest > MODBUS_TCP_MAX_ADU_LENGTH) {
        return std::nullopt;
    }
    return input.size() >= kLengthEnd + rest ? kLengthEnd + rest : 0;
}

Answerer::Answerer()
    : context_(modbus_new_tcp("127.0.0.1", MODBUS_TCP_DEFAULT_PORT)),
      registers_(
          modbus_mapping_new_start_address(0, 0, 0, 0, cooling::kTempScaleRegister, 1, 0, 0)) {
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0) {
        throw std::runtime_error("no socket pair for the answers");
    }
    near_ = Descriptor(ends[0]);
    far_ = Descriptor(ends[1]);
    if (!context_ || !registers_) {
        throw std::runtime_error("no memory for the registers");
    }
    modbus_set_socket(context_.get(), near_.number());
    // How long libmodbus sleeps before it refuses a malformed request.
    modbus_set_response_timeout(context_.get(), 0, 1);
}

Answerer::Answer Answerer::answer(const Bytes& request, std::uint16_t scale) {
    if (request[kUnitIdPosition] != cooling::kUnitId) {
        return {exception(request, MODBUS_EXCEPTION_GATEWAY_TARGET), scale};
    }
    registers_->tab_registers[0] = scale;
    const Room room = inRoom(request);
    modbus_reply(context_.get(), room.data(), static_cast<int>(request.size()), registers_.get());
    Bytes bytes = takeAnswer();
    return {std::move(bytes), registers_->tab_registers[0]};
}

Bytes Answerer::exception(const Bytes& request, unsigned int code) {
    modbus_reply_exception(context_.get(), inRoom(request).data(), code);
    return takeAnswer();
}

Bytes Answerer::takeAnswer() {
    Bytes bytes(MODBUS_TCP_MAX_ADU_LENGTH);
    const ssize_t length = ::recv(far_.number(), bytes.data(), bytes.size(), 0);
    bytes.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return bytes;
}

} // namespace sim
