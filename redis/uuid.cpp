#include "redis/uuid.h"

#include <cerrno>
#include <cstdint>
#include <span>
#include <string_view>
#include <sys/random.h>
#include <system_error>

namespace redis {

namespace {

void fillRandom(std::span<std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t got = ::getrandom(bytes.data(), bytes.size(), 0);
        if (got < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "no random numbers");
        }
        bytes = bytes.subspan(got < 0 ? 0 : static_cast<std::size_t>(got));
    }
}

} // namespace

std::array<char, kUuidCharacters + 1> randomUuid() {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::array<std::uint8_t, 16> bytes{};
    fillRandom(bytes);
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0fU) | 0x40U); // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3fU) | 0x80U); // variant of RFC 4122
    std::array<char, kUuidCharacters + 1> text{};
    char* out = text.data();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            *out++ = '-';
        }
        *out++ = kDigits[bytes[i] >> 4U];
        *out++ = kDigits[bytes[i] & 0x0fU];
    }
    return text;
}

std::string makeUuid() {
    return randomUuid().data();
}

} // namespace redis
