#include "descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <utility>

namespace {

int openNull() {
    return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

bool isOpenInThisProcess(int number) {
    return ::fcntl(number, F_GETFD) != -1;
}

TEST(Descriptor, ClosesWhatItOwnsAtItsEnd) {
    int number = -1;
    {
        const Descriptor owner(openNull());
        number = owner.number();
        EXPECT_TRUE(owner.isOpen());
        EXPECT_TRUE(isOpenInThisProcess(number));
    }
    EXPECT_FALSE(isOpenInThisProcess(number));
}

TEST(Descriptor, OwnsNothingByItself) {
    const auto owner = std::make_unique<Descriptor>();
    EXPECT_FALSE(owner->isOpen());
    EXPECT_EQ(owner->number(), -1);
}

TEST(Descriptor, HandsOverWhatItOwnsWhenMoved) {
    Descriptor first(openNull());
    const int number = first.number();
    const Descriptor second(std::move(first));
    EXPECT_FALSE(first.isOpen()); // NOLINT(bugprone-use-after-move): what is left is defined
    EXPECT_EQ(second.number(), number);
    EXPECT_TRUE(isOpenInThisProcess(number));
}

TEST(Descriptor, ClosesItsOwnBeforeItTakesAnother) {
    Descriptor first(openNull());
    Descriptor second(openNull());
    const int closed = first.number();
    const int kept = second.number();
    first = std::move(second);
    EXPECT_EQ(first.number(), kept);
    EXPECT_FALSE(isOpenInThisProcess(closed));
    EXPECT_TRUE(isOpenInThisProcess(kept));
    first.reset();
    EXPECT_FALSE(first.isOpen());
    EXPECT_FALSE(isOpenInThisProcess(kept));
}

} // namespace
