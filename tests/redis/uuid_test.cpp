#include "redis/uuid.h"

#include <gmock/gmock.h>
#include <set>

namespace {

TEST(Uuid, IsARandomOneOfVersionFour) {
    EXPECT_THAT(redis::makeUuid(),
                testing::MatchesRegex(
                    "[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
    EXPECT_EQ(redis::randomUuid().back(), '\0');
}

TEST(Uuid, IsNeverMadeTwice) {
    std::set<std::string> made;
    for (int i = 0; i < 10'000; ++i) {
        EXPECT_TRUE(made.insert(redis::makeUuid()).second);
    }
}

} // namespace
