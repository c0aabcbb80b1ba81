// Conversions between texts and values.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <strings.h>

// Copies a text into a fixed field and zero-fills the rest. Silently cuts longer texts, so that the
// field always ends in a NUL.
inline void copyBounded(char* destination, std::size_t size, std::string_view text) {
    const std::size_t length = std::min(text.size(), size - 1);
    std::copy_n(text.begin(), length, destination); // not memcpy: an empty view may have null data
    std::memset(destination + length, 0, size - length);
}

template <std::size_t Size>
void copyBounded(char (&destination)[Size], std::string_view text) {
    copyBounded(destination, Size, text);
}

// The text in a fixed field, NUL-terminated or not.
template <std::size_t Size>
std::string_view boundedText(const char (&field)[Size]) {
    return {field, ::strnlen(field, Size)};
}

// How booleans are stored and sent. Any text that begins with "true", in any case, reads back as
// true.
inline const char* booleanText(bool value) {
    return value ? "true" : "false";
}
inline bool isTrueText(const char* text) {
    return ::strncasecmp(text, "true", 4) == 0;
}

// Parses a decimal number; 0 if there is none. Clamps to 32 bits, so that boards of both word sizes
// read an oversized number alike.
inline std::int32_t parseDecimal(const char* text) {
    using Limits = std::numeric_limits<std::int32_t>;
    const long value = std::strtol(text, nullptr, 10);
    return static_cast<std::int32_t>(std::clamp<long>(value, Limits::min(), Limits::max()));
}
