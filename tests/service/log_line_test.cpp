// Log lines: form, base of integers, control characters, and many threads at once:
// include/log_line.h.
#include "log_line.h"
#include "tests/doubles/platform_test.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <stdio_ext.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

class LogLine : public doubles::PlatformTest {};

TEST_F(LogLine, HasItsFunctionInBrackets) {
    logLine("name", "text ", "with ", "parts.");
    EXPECT_EQ(output(), "[name]: text with parts.\n");
    logErrorLine("name", "text");
    EXPECT_EQ(errors(), "[name]: text\n");
    EXPECT_EQ(output(), "");
}

TEST_F(LogLine, HasNoBracketsWithoutAFunction) {
    writeLine("plain ", 1);
    EXPECT_EQ(output(), "plain 1\n");
    writeErrorLine("plain ", 1);
    EXPECT_EQ(errors(), "plain 1\n");
}

TEST_F(LogLine, ShowsIntegersInTheBaseOfStandardOutput) {
    struct Case {
        bool hexadecimal;
        const char* line;
    };
    for (const Case& each : {Case{false, "[n]: 20 -1 16\n"}, Case{true, "[n]: 14 ffffffff 10\n"}}) {
        each.hexadecimal ? hexStream() : decimalStream();
        logLine("n", 20, ' ', -1, ' ', 16U);
        EXPECT_EQ(output(), each.line);
    }
}

TEST_F(LogLine, AlwaysShowsIntegersOnStandardErrorInDecimal) {
    hexStream();
    logErrorLine("n", 20, ' ', -1);
    EXPECT_EQ(errors(), "[n]: 20 -1\n");
}

TEST_F(LogLine, ShowsPrintableTextAsItIs) {
    for (const char* text : {"plain", "a\\b", "a\tb", "\"quoted\"", "~", "\u00e9", "\u00c0",
                             "\u20ac", "\U0001f600", "\u00a0", "\u65e5\u672c", "\u2003", "\xa0"}) {
        logLine("n", text);
        EXPECT_EQ(output(), "[n]: " + std::string(text) + '\n');
        writeErrorLine(text);
        EXPECT_EQ(errors(), text + std::string("\n"));
    }
}

TEST_F(LogLine, ShowsControlCharactersAsTheirNumbers) {
    const std::string csi = "\x9b"; // in an 8-bit character set
    const std::pair<std::string, std::string> cases[] = {
        {"a\nb", R"(a\x0ab)"},
        {"a\r\nb", R"(a\x0d\x0ab)"},
        {"\x1b[2J", R"(\x1b[2J)"},
        {std::string(1, '\0'), R"(\x00)"},
        {"\x7f\x1f\b", R"(\x7f\x1f\x08)"},
        {csi + "31m", R"(\x9b31m)"},
        {"\x80\x9f\x85", R"(\x80\x9f\x85)"},
        {"\xc2" + csi + "31m", "\xc2"
                               R"(\x9b31m)"}, // in UTF-8
    };
    for (const auto& [text, shown] : cases) {
        logLine("n", text);
        EXPECT_EQ(output(), "[n]: " + shown + '\n');
        writeErrorLine(text, '|');
        EXPECT_EQ(errors(), shown + "|\n");
    }
}

TEST_F(LogLine, NeverChangesTheBaseOfTheStream) {
    hexStream();
    const auto flags = std::cout.flags();
    logLine("n", std::to_string(20), 20);
    logErrorLine("n", 20);
    EXPECT_EQ(output(), "[n]: 2014\n");
    EXPECT_EQ(std::cout.flags(), flags);
}

// Redirects standard output or standard error to a pipe and reads it back.
class Piped {
public:
    Piped(std::FILE* stream, int descriptor) : stream_(stream), descriptor_(descriptor) {
        std::fflush(stream_);
        std::array<int, 2> ends{};
        if (::pipe(ends.data()) != 0) {
            throw std::runtime_error("no pipe");
        }
        kept_ = ::dup(descriptor_);
        ::dup2(ends[1], descriptor_);
        ::close(ends[1]);
        reader_ = std::thread([this, end = ends[0]] {
            std::array<char, 4096> part{};
            for (ssize_t size = 0; (size = ::read(end, part.data(), part.size())) > 0;) {
                text_.append(part.data(), static_cast<std::size_t>(size));
            }
            ::close(end);
        });
    }
    // Restores the stream and returns what was written to it.
    std::string finish() {
        std::fflush(stream_);
        ::dup2(kept_, descriptor_); // closes the last write end
        ::close(kept_);
        reader_.join();
        return text_;
    }

private:
    std::FILE* stream_;
    int descriptor_;
    int kept_ = -1;
    std::string text_;
    std::thread reader_;
};

constexpr int kThreads = 8;
constexpr int kLines = 300;

// Some are too long for one write to a pipe or a buffer; each thread has its own letter.
std::string textOf(int thread, int line) {
    const auto length = static_cast<std::size_t>(line % 7 == 0 ? 9000 : 60 + line % 50);
    return std::string(length, static_cast<char>('a' + thread));
}

void expectWholeLines(const std::string& text) {
    std::map<std::string, int> lines;
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = text.find('\n', begin)) != std::string::npos;
         begin = end + 1) {
        ++lines[text.substr(begin, end - begin)];
    }
    EXPECT_EQ(begin, text.size());
    std::map<std::string, int> expected;
    for (int thread = 0; thread < kThreads; ++thread) {
        for (int line = 0; line < kLines; ++line) {
            ++expected["[worker]: " + textOf(thread, line) + " 5."];
        }
    }
    EXPECT_TRUE(lines == expected);
}

template <typename Write>
void writeFromManyThreads(Write write) {
    std::atomic<int> waiting = kThreads;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&waiting, write, thread] {
            --waiting;
            while (waiting > 0) { // start all at once
                std::this_thread::yield();
            }
            for (int line = 0; line < kLines; ++line) {
                write("worker", textOf(thread, line), ' ', 5, '.');
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(LogLineOfManyThreads, ComesOutWholeOnStandardOutput) {
    Piped output(stdout, STDOUT_FILENO);
    writeFromManyThreads([](const auto&... parts) { logLine(parts...); });
    expectWholeLines(output.finish());
}

TEST(LogLineOfManyThreads, ComesOutWholeOnStandardError) {
    Piped errors(stderr, STDERR_FILENO);
    writeFromManyThreads([](const auto&... parts) { logErrorLine(parts...); });
    expectWholeLines(errors.finish());
}

TEST(LogLineOfManyThreads, IsFlushedWhenItIsWritten) {
    Piped output(stdout, STDOUT_FILENO);
    logLine("name", "text");
    EXPECT_EQ(::__fpending(stdout), 0U);
    EXPECT_EQ(output.finish(), "[name]: text\n");
}

} // namespace
