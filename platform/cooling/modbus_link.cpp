// One Modbus TCP connection on which every step ends before a deadline. When to connect
// again is the business of cooling_unit.cpp.
#include "platform/cooling/modbus_link.h"

#include "platform/cooling/register_map.h"

#include <cerrno>
#include <string>

namespace cooling {

namespace {

bool isException(int error) {
    return error >= EMBXILFUN && error <= EMBXGTAR;
}

// Why there is no connection: an address of a family that the machine does not have leaves no
// errno, a connection that came to nothing in time leaves that it has been begun.
int reasonOf(int error) {
    switch (error) {
    case 0:
        return EADDRNOTAVAIL;
    case EINPROGRESS:
        return ETIMEDOUT;
    default:
        return error;
    }
}

} // namespace

void ModbusLink::Free::operator()(modbus_t* context) const {
    modbus_close(context); // nothing to do where it never connected
    modbus_free(context);
}

bool ModbusLink::open(const UnitAddress& address, Deadline deadline) {
    const std::string port = std::to_string(address.port);
    context_.reset(modbus_new_tcp_pi(address.host.c_str(), port.c_str()));
    // Without a time-out between bytes the time-out of the response holds for all of it, so
    // that a unit which sends byte after byte cannot stretch it.
    if (!context_ || modbus_set_slave(context_.get(), kUnitId) != 0 ||
        modbus_set_byte_timeout(context_.get(), 0, 0) != 0 || !allowUntil(deadline) ||
        modbus_connect(context_.get()) != 0) {
        error_ = reasonOf(errno);
        close();
        return false;
    }
    return true;
}

Answer ModbusLink::readRegister(int number, std::uint16_t& value, Deadline deadline) {
    std::uint16_t read = 0;
    const bool done =
        allowUntil(deadline) && modbus_read_registers(context_.get(), number, 1, &read) == 1;
    if (done) {
        value = read;
    }
    return judge(done);
}

Answer ModbusLink::writeRegister(int number, std::uint16_t value, Deadline deadline) {
    return judge(allowUntil(deadline) && modbus_write_register(context_.get(), number, value) == 1);
}

// Gives the next step the time that is left; false, with errno, when none is.
bool ModbusLink::allowUntil(Deadline deadline) {
    using std::chrono::duration_cast;
    using std::chrono::microseconds;
    const auto left =
        duration_cast<microseconds>(deadline - std::chrono::steady_clock::now()).count();
    if (left <= 0) {
        errno = ETIMEDOUT;
        return false;
    }
    constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;
    errno = 0;
    return modbus_set_response_timeout(
               context_.get(), static_cast<std::uint32_t>(left / kMicrosecondsPerSecond),
               static_cast<std::uint32_t>(left % kMicrosecondsPerSecond)) == 0;
}

Answer ModbusLink::judge(bool done) {
    if (done) {
        return Answer::done;
    }
    error_ = errno;
    if (isException(error_)) {
        return Answer::refused;
    }
    close();
    return Answer::broken;
}

} // namespace cooling
