// Shared by the fuzz targets: asserting invariants, decoding readable input, and capturing what the
// code under test writes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

// Defined by each target; always returns 0. Called many times in one process, so it must leave
// nothing behind.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

// Ends the process with a line on the C library's standard error when an invariant is broken.
void require(bool holds, std::string_view invariant, std::string_view detail = {});

std::string_view asText(const std::uint8_t* data, std::size_t size);

// The pieces between the separators; a text without one is a single piece.
std::vector<std::string_view> split(std::string_view text, char separator);

// The text with "\xHH" as that byte, "\*N;" as N more of the byte before it (at most 8192) and
// "\\" as a backslash; anything else stays as it is.
std::string unescaped(std::string_view text);

// Takes a stream's place from construction to destruction and keeps what it writes, one element
// for each piece. A line written in more than one piece is a broken invariant.
class Capture {
public:
    explicit Capture(std::ostream& stream) : stream_(stream), earlier_(stream.rdbuf(&pieces_)) {}
    ~Capture() { stream_.rdbuf(earlier_); }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    // The pieces since the last call. Each one was flushed.
    std::vector<std::string> taken();

private:
    class Pieces : public std::streambuf {
    public:
        std::vector<std::string> texts;
        std::size_t flushed = 0; // so many of the texts

    protected:
        std::streamsize xsputn(const char* text, std::streamsize count) override;
        int_type overflow(int_type letter) override;
        int sync() override;
    };

    std::ostream& stream_;
    Pieces pieces_;
    std::streambuf* earlier_;
};

} // namespace fuzz
