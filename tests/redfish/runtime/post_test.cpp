#include "redfish/runtime/post.h"

#include "tests/redfish/runtime/posted_work.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

using redfish::PostGuard;

TEST(APostGuard, LetsWorkThroughWhileItLives) {
    test::PostedWork loop;
    const PostGuard guard;
    int ran = 0;
    guard.guard(loop.post())([&ran] { ++ran; });
    EXPECT_EQ(ran, 0) << "not before the loop runs it";
    loop.runOne();
    EXPECT_EQ(ran, 1);
}

TEST(APostGuard, DropsWorkThatArrivesAfterItsEnd) {
    test::PostedWork loop;
    auto guard = std::make_unique<PostGuard>();
    const redfish::Post post = guard->guard(loop.post());
    int ran = 0;
    post([&ran] { ++ran; });
    guard.reset();
    loop.runOne();
    post([&ran] { ++ran; });
    loop.runOne();
    EXPECT_EQ(ran, 0);
}

} // namespace
