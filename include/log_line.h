// Lines of log. A line is composed first and written in one piece and flushed,
// so that lines of different threads never mix.
//
// Integers come out in the base that std::cout stands in: hexadecimal from the
// construction of the plugin object on, and never changed back. Where a line
// shows a number in decimal whatever the base, its caller passes std::to_string.
#pragma once

#include <initializer_list>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

// One part of a line: a text or an integer, borrowed. It knows how its type is written, so that one
// function composes every line, whatever its parts, and a call costs little code where it stands.
class LogPart {
public:
    LogPart(const char* text) : value_(text), put_(putText) {}

    template <typename T>
    requires(!std::is_array_v<T>) LogPart(const T& value) : value_(&value), put_(putValue<T>) {}

    void putTo(std::ostream& line) const { put_(line, value_); }

private:
    static void putText(std::ostream& line, const void* text) {
        line << static_cast<const char*>(text);
    }

    template <typename T>
    static void putValue(std::ostream& line, const void* value) {
        line << *static_cast<const T*>(value);
    }

    const void* value_;
    void (*put_)(std::ostream& line, const void* value);
};

// Writes the parts as one line to the stream. `cold`: who logs has failed, and the code there is
// made small rather than fast.
[[gnu::cold]] inline void writeParts(std::ostream& stream, std::ios_base::fmtflags format,
                                     std::initializer_list<LogPart> parts) {
    std::ostringstream line;
    line.flags(format);
    for (const LogPart& part : parts) {
        part.putTo(line);
    }
    line << '\n';
    const std::string text = line.str();
    stream.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
}

// Writes the parts as one line to standard output.
//   parts   texts and integers, in order, nothing added between them
//   thread  any: std::cout hands a whole line to the C library, which locks
template <typename... Parts>
void writeLine(const Parts&... parts) {
    writeParts(std::cout, std::cout.flags(), {parts...});
}

// The form of nearly every line: "[" function "]: " parts.
template <typename... Parts>
void logLine(std::string_view function, const Parts&... parts) {
    writeLine('[', function, "]: ", parts...);
}

// As writeLine, to standard error, which always stands in decimal.
template <typename... Parts>
void writeErrorLine(const Parts&... parts) {
    writeParts(std::cerr, std::ios_base::dec, {parts...});
}

// As logLine, to standard error.
template <typename... Parts>
void logErrorLine(std::string_view function, const Parts&... parts) {
    writeErrorLine('[', function, "]: ", parts...);
}
