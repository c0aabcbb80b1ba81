// The few conversions between texts and values: one place for each.
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

// Copies a text into a fixed field and zero-fills what is left of it. Longer
// texts are silently cut to one character less than the field holds.
inline void copyBounded(char* destination, std::size_t size, std::string_view text) {
    const std::size_t length = std::min(text.size(), size - 1);
    std::copy_n(text.begin(), length, destination); // a view of nothing has no data to copy
    std::memset(destination + length, 0, size - length);
}

template <std::size_t Size>
void copyBounded(char (&destination)[Size], std::string_view text) {
    copyBounded(destination, Size, text);
}

// The text in a fixed field, whether or not it is NUL-terminated.
template <std::size_t Size>
std::string_view boundedText(const char (&field)[Size]) {
    return {field, ::strnlen(field, Size)};
}

// How booleans are stored and sent, and read back: true is any text whose
// first four letters are "true" in any case.
inline const char* booleanText(bool value) {
    return value ? "true" : "false";
}
inline bool isTrueText(const char* text) {
    return ::strncasecmp(text, "true", 4) == 0;
}

// Decimal text to number: 0 for a text that is no number, clamped to 32 bits so
// that boards of both word sizes read a number that is too large alike.
inline std::int32_t parseDecimal(const char* text) {
    using Limits = std::numeric_limits<std::int32_t>;
    const long value = std::strtol(text, nullptr, 10);
    return static_cast<std::int32_t>(std::clamp<long>(value, Limits::min(), Limits::max()));
}
