// Assertions, decoding and capture for all fuzz targets.
#include "tests/fuzz/fuzz.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace fuzz {

namespace {

constexpr std::size_t kMaxRepetitions = 8192;

// A number at the beginning of the text; `text` then begins behind it. False: there is none.
bool takeNumber(std::string_view& text, int base, std::size_t digits, std::size_t& number) {
    const std::string_view candidate = text.substr(0, digits);
    const char* const end = candidate.data() + candidate.size();
    const auto [stop, error] = std::from_chars(candidate.data(), end, number, base);
    if (error != std::errc{}) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(stop - candidate.data()));
    return true;
}

// What follows a backslash. False: nothing that is known.
bool takeEscape(std::string_view& text, std::string& decoded) {
    std::string_view rest = text.substr(1);
    std::size_t number = 0;
    if (text.starts_with('\\')) {
        decoded += '\\';
    } else if (text.starts_with('x') && takeNumber(rest, 16, 2, number)) {
        decoded += static_cast<char>(number);
    } else if (text.starts_with('*') && !decoded.empty() && takeNumber(rest, 10, 5, number) &&
               rest.starts_with(';')) {
        decoded.append(std::min(number, kMaxRepetitions), decoded.back());
        rest.remove_prefix(1);
    } else {
        return false;
    }
    text = rest;
    return true;
}

} // namespace

void require(bool holds, std::string_view invariant, std::string_view detail) {
    if (holds) {
        return;
    }
    std::fprintf(stderr, "invariant broken: %.*s: %.*s\n", static_cast<int>(invariant.size()),
                 invariant.data(), static_cast<int>(detail.size()), detail.data());
    std::abort();
}

std::string_view asText(const std::uint8_t* data, std::size_t size) {
    return size == 0 ? std::string_view()
                     : std::string_view(reinterpret_cast<const char*>(data), size);
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (std::size_t at = text.find(separator); at != std::string_view::npos;
         at = text.find(separator)) {
        pieces.push_back(text.substr(0, at));
        text.remove_prefix(at + 1);
    }
    pieces.push_back(text);
    return pieces;
}

std::string unescaped(std::string_view text) {
    std::string decoded;
    while (!text.empty()) {
        const char letter = text.front();
        text.remove_prefix(1);
        if (letter != '\\' || text.empty() || !takeEscape(text, decoded)) {
            decoded += letter;
        }
    }
    return decoded;
}

std::vector<std::string> Capture::taken() {
    require(pieces_.flushed == pieces_.texts.size(), "a line is flushed at once");
    pieces_.flushed = 0;
    return std::exchange(pieces_.texts, {});
}

std::streamsize Capture::Pieces::xsputn(const char* text, std::streamsize count) {
    texts.emplace_back(text, static_cast<std::size_t>(count));
    require(texts.back().ends_with('\n'), "a line is written in one piece", texts.back());
    return count;
}

Capture::Pieces::int_type Capture::Pieces::overflow(int_type letter) {
    require(false, "a line is written in one piece", "a single letter");
    return letter;
}

int Capture::Pieces::sync() {
    flushed = texts.size();
    return 0;
}

} // namespace fuzz
