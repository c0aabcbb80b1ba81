// Libmodbus with the time that is left before each step.
#include "platform/cooling/modbus_link.h"

#include "platform/cooling/register_map.h"

#include <cerrno>
#include <string>

namespace cooling {

namespace {

bool isException(int error) {
    return error >= EMBXILFUN && error <= EMBXGTAR;
}

// Why connecting failed, from errno. Libmodbus leaves 0 for an address family that the machine
// lacks, and EINPROGRESS for a connection that was not established in time.
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
    modbus_close(context); // does nothing if it never connected
    modbus_free(context);
}

bool ModbusLink::open(const UnitAddress& address, Deadline deadline) {
    const std::string port = std::to_string(address.port);
    context_.reset(modbus_new_tcp_pi(address.host.c_str(), port.c_str()));
    // Without a time-out between bytes, the response time-out covers the whole response: a unit
    // that drips byte after byte cannot stretch it.
    if (!context_ || modbus_set_slave(context_.get(), kUnitId) != 0 ||
        modbus_set_byte_timeout(context_.get(), 0, 0) != 0 || !allowUntil(deadline) ||
        modbus_connect(context_.get()) != 0) {
        error_ = reasonOf(errno);
        close();
        return false;
    }
    return true;
}

ModbusResult ModbusLink::readRegister(int number, std::uint16_t& value, Deadline deadline) {
    std::uint16_t read = 0;
    const bool done =
        allowUntil(deadline) && modbus_read_registers(context_.get(), number, 1, &read) == 1;
    if (done) {
        value = read;
    }
    return judge(done);
}

ModbusResult ModbusLink::writeRegister(int number, std::uint16_t value, Deadline deadline) {
    return judge(allowUntil(deadline) && modbus_write_register(context_.get(), number, value) == 1);
}

// Gives the next step the time that is left. Returns false, with errno set, if there is none.
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

ModbusResult ModbusLink::judge(bool done) {
    if (done) {
        return ModbusResult::done;
    }
    error_ = errno;
    if (isException(error_)) {
        return ModbusResult::refused;
    }
    close();
    return ModbusResult::broken;
}

} // namespace cooling
