// Random UUIDs from the system's random numbers.
// What is named with them is left to the callers.
#include "client/uuid.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <random>

namespace client {

std::string makeUuid() {
    thread_local std::random_device random;
    const std::uint32_t a = random();
    const std::uint32_t b = (random() & 0xffff0fffU) | 0x00004000U; // version 4
    const std::uint32_t c = (random() & 0x3fffffffU) | 0x80000000U; // variant 1
    const std::uint32_t d = random();
    std::array<char, 37> text{};
    std::snprintf(text.data(), text.size(), "%08x-%04x-%04x-%04x-%04x%08x", a, b >> 16U,
                  b & 0xffffU, c >> 16U, c & 0xffffU, d);
    return text.data();
}

} // namespace client
