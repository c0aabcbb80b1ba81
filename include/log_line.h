// Lines of log. A line is composed first and written in one piece and flushed,
// so that lines of different threads never mix.
//
// Integers come out in the base that std::cout stands in: hexadecimal from the
// construction of the plugin object on, and never changed back. Where a line
// shows a number in decimal whatever the base, its caller passes std::to_string.
#pragma once

#include <iostream>
#include <sstream>
#include <string>
#include <string_view>

// Writes the parts as one line to standard output.
//   parts   texts and integers, in order, nothing added between them
//   thread  any: std::cout hands a whole line to the C library, which locks
template <typename... Parts>
void writeLine(const Parts&... parts) {
    std::ostringstream line;
    line.flags(std::cout.flags());
    (line << ... << parts) << '\n';
    const std::string text = line.str();
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
}

// The form of nearly every line: "[" function "]: " parts.
template <typename... Parts>
void logLine(std::string_view function, const Parts&... parts) {
    writeLine('[', function, "]: ", parts...);
}

// As writeLine, to standard error, which always stands in decimal.
template <typename... Parts>
void writeErrorLine(const Parts&... parts) {
    std::ostringstream line;
    (line << ... << parts) << '\n';
    const std::string text = line.str();
    std::cerr.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
}

// As logLine, to standard error.
template <typename... Parts>
void logErrorLine(std::string_view function, const Parts&... parts) {
    writeErrorLine('[', function, "]: ", parts...);
}
