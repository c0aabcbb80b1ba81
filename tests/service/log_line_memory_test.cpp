// Log lines for which memory runs out: include/log_line.h. A program of its own, since it replaces
// operator new.
#include "log_line.h"

#include <array>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>

namespace {

thread_local bool g_outOfMemory = false;

} // namespace

void* operator new(std::size_t size) {
    void* const memory = g_outOfMemory ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return g_outOfMemory ? nullptr : std::malloc(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

namespace {

// Stores what is written to it without allocating.
class FixedBuffer : public std::streambuf {
public:
    FixedBuffer() { setp(text_.begin(), text_.end()); }
    std::string text() const { return {pbase(), pptr()}; }

private:
    std::array<char, 4096> text_{};
};

// Returns the line that is written if no memory can be allocated.
template <typename... Parts>
std::string lineWithoutMemory(const Parts&... parts) {
    FixedBuffer buffer;
    std::streambuf* const output = std::cout.rdbuf(&buffer);
    g_outOfMemory = true;
    logLine(parts...);
    g_outOfMemory = false;
    std::cout.rdbuf(output);
    return buffer.text();
}

TEST(LogLineWithoutMemory, HasItsEndWhereverItIsCut) {
    const std::string text(1000, 'x');
    const std::string line = lineWithoutMemory("name", text);
    EXPECT_THAT(line, testing::MatchesRegex("\\[name\\]: x*\n"));
    EXPECT_LT(line.size(), text.size());
    for (std::size_t length = 0; length < 20; ++length) { // cuts it in every part and in an escape
        EXPECT_THAT(lineWithoutMemory(std::string(length, 'n'), 123456, "\n", text),
                    testing::MatchesRegex("\\[n*]?[^\n]*\n"));
    }
}

TEST(LogLineWithoutMemory, IsWholeWhenItNeedsNone) {
    EXPECT_EQ(lineWithoutMemory("n", "text"), "[n]: text\n");
}

TEST(LogLineWithoutMemory, IsFollowedByAWholeOne) {
    lineWithoutMemory("name", std::string(1000, 'x'));
    testing::internal::CaptureStdout();
    logLine("name", std::string(1000, 'y'));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[name]: " + std::string(1000, 'y') + '\n');
}

} // namespace
