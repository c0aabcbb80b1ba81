#include "redfish/service/router.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace {

using redfish::Method;
using redfish::model::Privilege;

const redfish::Router<int> kRouter({
    {.path = "/a", .method = Method::get, .privilege = Privilege::login, .handle = 1},
    {.path = "/a", .method = Method::patch, .privilege = Privilege::configureManager, .handle = 2},
    {.path = "/a/*", .method = Method::remove, .privilege = Privilege::login, .handle = 3},
    {.path = "/a/b", .method = Method::get, .privilege = Privilege::none, .handle = 4},
});

int handleOf(std::string_view path, Method method) {
    const auto match = kRouter.find(path, method);
    return match.route == nullptr ? 0 : match.route->handle;
}

TEST(ARouter, FindsTheHandlerOfAPathAndMethod) {
    EXPECT_EQ(handleOf("/a", Method::get), 1);
    EXPECT_EQ(handleOf("/a", Method::head), 1) << "HEAD is answered as GET";
    EXPECT_EQ(handleOf("/a", Method::patch), 2);
    EXPECT_EQ(handleOf("/a/b", Method::get), 4);
}

TEST(ARouter, LeavesTheLastSegmentOpen) {
    EXPECT_EQ(handleOf("/a/x", Method::remove), 3);
    EXPECT_EQ(kRouter.find("/a/x", Method::remove).member, "x");
    EXPECT_FALSE(kRouter.find("/a/", Method::remove).isPathKnown);
    EXPECT_FALSE(kRouter.find("/a/x/y", Method::remove).isPathKnown);
}

TEST(ARouter, KnowsAPathWithoutThatMethod) {
    const auto match = kRouter.find("/a", Method::put);
    EXPECT_TRUE(match.isPathKnown);
    EXPECT_EQ(match.route, nullptr);
    EXPECT_FALSE(kRouter.find("/A", Method::get).isPathKnown);
    EXPECT_EQ(kRouter.allow("/a"), "GET, HEAD, PATCH");
    EXPECT_EQ(kRouter.allow("/a/b"), "GET, HEAD, DELETE");
    EXPECT_EQ(kRouter.allow("/none"), "");
}

TEST(ARouter, RefusesARouteThatAnEarlierOneHides) {
    using Routes = std::vector<redfish::Route<int>>;
    const auto at = [](const std::string& path, Method method) {
        return redfish::Route<int>{
            .path = path, .method = method, .privilege = Privilege::login, .handle = 1};
    };
    for (const Routes& hidden : {Routes{at("/a", Method::get), at("/a", Method::get)},
                                 Routes{at("/a/*", Method::get), at("/a/b", Method::get)},
                                 Routes{at("/a/*", Method::get), at("/a/*", Method::get)}}) {
        EXPECT_THROW(redfish::Router<int>{hidden}, std::logic_error) << hidden.back().path;
    }
    EXPECT_NO_THROW(redfish::Router<int>({at("/a/b", Method::get), at("/a/*", Method::get)}));
    EXPECT_NO_THROW(redfish::Router<int>({at("/a", Method::get), at("/a", Method::patch)}));
}

} // namespace
