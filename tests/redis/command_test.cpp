#include "redis/command.h"

#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>

namespace {

using redis::appendCommand;
using redis::LongCommand;
using redis::ShortCommand;

std::string bytesOf(redis::Command command) {
    std::string bytes;
    appendCommand(bytes, command);
    return bytes;
}

TEST(Command, TravelsAsAListOfTextsWithTheirLengths) {
    EXPECT_EQ(bytesOf(ShortCommand{"GET", "key"}), "*2\r\n$3\r\nGET\r\n$3\r\nkey\r\n");
    EXPECT_EQ(bytesOf(ShortCommand{"PING"}), "*1\r\n$4\r\nPING\r\n");
}

TEST(Command, LeavesEveryByteOfAWordAsItIs) {
    const std::string odd("a b\"%s\r\n\0\xff", 10);
    EXPECT_EQ(bytesOf(ShortCommand{"SET", "", odd}),
              "*3\r\n$3\r\nSET\r\n$0\r\n\r\n$10\r\n" + odd + "\r\n");
}

TEST(Command, MayGrowWordByWord) {
    LongCommand command(1000);
    std::string expected = "*1000\r\n";
    for (int i = 0; i < 1000; ++i) {
        command.add("word");
        expected += "$4\r\nword\r\n";
    }
    EXPECT_EQ(bytesOf(command), expected);
}

TEST(Command, OfStringsHasTheSameForm) {
    std::string bytes = "before";
    appendCommand(bytes, std::vector<std::string>{"GET", "key"});
    EXPECT_EQ(bytes, "before" + bytesOf(ShortCommand{"GET", "key"}));
}

TEST(Command, RefusesMoreWordsThanAServerCounts) {
    EXPECT_THROW(LongCommand(std::size_t{1} + std::numeric_limits<int>::max()), std::length_error);
}

} // namespace
