// Lines of log. A line is composed first, then written in one piece and flushed, so that lines of
// different threads never mix.
//
// Integers appear in the base of std::cout: hexadecimal once the plugin object exists, for the rest
// of the process. A caller that wants decimal whatever the base passes std::to_string.
//
// Requests bring message ids, keys and values that end up in lines. Control characters in them,
// line ends included, are shown as "\x0a", so that nobody can forge a line or steer the terminal of
// whoever reads the log. Only the tab stays.
#pragma once

#include <initializer_list>
#include <iostream>
#include <streambuf>
#include <string>
#include <string_view>
#include <type_traits>

// Collects the text of a line. When memory runs out the text ends early; there is always room left
// for the line end.
class LineBuffer : public std::streambuf {
public:
    // The line, with its end.
    const std::string& finish() {
        text_.push_back('\n');
        return text_;
    }

protected:
    int_type overflow(int_type character) override {
        constexpr std::string_view kDigits = "0123456789abcdef";
        constexpr std::size_t kMaxBytesShown = 4; // "\x0a"
        const auto byte = static_cast<unsigned char>(character);
        text_.reserve(text_.size() + kMaxBytesShown + 1);
        if (isControl(byte)) {
            text_ += {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
        } else {
            text_.push_back(static_cast<char>(byte));
        }
        return character;
    }

private:
    // The bytes from 0x80 to 0x9f are control characters too, alone or after 0xc2 as UTF-8 writes
    // them, but part of a letter after any other lead byte.
    bool isControl(unsigned char byte) const {
        const auto previous = static_cast<unsigned char>(text_.empty() ? '\0' : text_.back());
        const bool insideLetter = previous >= 0x80 && previous != 0xC2;
        return (byte < 0x20 && byte != '\t') || byte == 0x7F ||
               (byte >= 0x80 && byte < 0xA0 && !insideLetter);
    }

    std::string text_;
};

// One part of a line: a text or an integer, borrowed. It carries the function that writes its type,
// so that a single writeParts composes every line and a call site stays small.
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

// Writes the parts as one line to the stream. `cold`: callers log failures, so optimise them for
// size.
[[gnu::cold]] inline void writeParts(std::ostream& stream, std::ios_base::fmtflags format,
                                     std::initializer_list<LogPart> parts) {
    LineBuffer buffer;
    std::ostream line(&buffer);
    line.flags(format);
    for (const LogPart& part : parts) {
        part.putTo(line);
    }
    const std::string& text = buffer.finish();
    stream.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
}

// Writes the parts as one line to standard output.
//   parts   texts and integers, in order, nothing added between them
//   thread  any: std::cout passes the whole line to the C library, which locks
template <typename... Parts>
void writeLine(const Parts&... parts) {
    writeParts(std::cout, std::cout.flags(), {parts...});
}

// The usual form of a line: "[" function "]: " parts.
template <typename... Parts>
void logLine(std::string_view function, const Parts&... parts) {
    writeLine('[', function, "]: ", parts...);
}

// As writeLine, to standard error, whose integers are always decimal.
template <typename... Parts>
void writeErrorLine(const Parts&... parts) {
    writeParts(std::cerr, std::ios_base::dec, {parts...});
}

// As logLine, to standard error.
template <typename... Parts>
void logErrorLine(std::string_view function, const Parts&... parts) {
    writeErrorLine('[', function, "]: ", parts...);
}
