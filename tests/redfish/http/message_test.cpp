#include "redfish/http/message.h"

#include <gtest/gtest.h>

namespace {

using redfish::Method;

TEST(AMethod, HasTheNameOfTheRequestLine) {
    EXPECT_EQ(nameOf(Method::get), "GET");
    EXPECT_EQ(nameOf(Method::remove), "DELETE");
    EXPECT_EQ(nameOf(Method::options), "OPTIONS");
    EXPECT_EQ(nameOf(Method::other), "");
}

TEST(AMethod, ReadsOrMayChangeSomething) {
    EXPECT_TRUE(isReading(Method::get));
    EXPECT_TRUE(isReading(Method::head));
    for (const Method method : {Method::post, Method::patch, Method::put, Method::remove}) {
        EXPECT_FALSE(isReading(method)) << nameOf(method);
    }
}

} // namespace
