#include "redfish/http/target.h"

#include <gmock/gmock.h>

namespace {

using redfish::parseQuery;
using redfish::parseTarget;
using redfish::percentDecode;
using redfish::segmentsOf;
using redfish::withoutTrailingSlash;
using testing::ElementsAre;
using testing::Pair;

TEST(ATarget, IsSplitIntoADecodedPathAndTheQueryAsItIs) {
    const auto target = parseTarget("/redfish/v1/%24metadata?$select=A%20B");
    ASSERT_TRUE(target);
    EXPECT_EQ(target->path, "/redfish/v1/$metadata");
    EXPECT_EQ(target->query, "$select=A%20B");
}

TEST(ATarget, IsRefusedUnlessItIsAnAbsolutePath) {
    for (const char* const bad : {"", "redfish", "*", "http://other/redfish", "/a%", "/a%4",
                                  "/a%zz", "/a%00b", "/..", "/a/../b", "/a/%2e%2e/b", "/./a"}) {
        EXPECT_FALSE(parseTarget(bad)) << bad;
    }
    for (const char* const good : {"/", "/a.b", "/a/..b", "/.well-known", "/a%2Fb"}) {
        EXPECT_TRUE(parseTarget(good)) << good;
    }
}

TEST(AnEscape, IsDecodedAtTheEndOfATextToo) {
    EXPECT_EQ(percentDecode("a%41"), "aA");
    EXPECT_EQ(percentDecode("%c3%A4"), "ä");
    EXPECT_EQ(percentDecode("a+b"), "a+b");
}

TEST(AQuery, IsSplitIntoNamesAndValues) {
    EXPECT_THAT(*parseQuery("$filter=A%20eq%20'b%26c'&x&y=1=2&&"),
                ElementsAre(Pair("$filter", "A eq 'b&c'"), Pair("x", ""), Pair("y", "1=2")));
    EXPECT_TRUE(parseQuery("")->empty());
    EXPECT_FALSE(parseQuery("a=%0"));
}

TEST(APath, IsTheSameWithoutTheSlashAtItsEnd) {
    EXPECT_EQ(withoutTrailingSlash("/a/b/"), "/a/b");
    EXPECT_EQ(withoutTrailingSlash("/a/b"), "/a/b");
    EXPECT_EQ(withoutTrailingSlash("/a//"), "/a/") << "one slash only";
    EXPECT_EQ(withoutTrailingSlash("/"), "/");
}

TEST(APath, HasSegmentsBetweenItsSlashes) {
    EXPECT_THAT(segmentsOf("/a/b/"), ElementsAre("a", "b"));
    EXPECT_THAT(segmentsOf("/a//b"), ElementsAre("a", "", "b"));
    EXPECT_THAT(segmentsOf("/"), ElementsAre());
}

} // namespace
