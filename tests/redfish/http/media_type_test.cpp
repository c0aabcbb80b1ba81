#include "redfish/http/media_type.h"

#include <gtest/gtest.h>

namespace {

TEST(AMediaType, FollowsFromTheExtensionOfAFile) {
    EXPECT_EQ(redfish::typeOfExtension(".html"), "text/html; charset=utf-8");
    EXPECT_EQ(redfish::typeOfExtension(".json"), redfish::kJsonType);
    EXPECT_EQ(redfish::typeOfExtension(".woff2"), "font/woff2");
    EXPECT_EQ(redfish::typeOfExtension(".exe"), "application/octet-stream");
    EXPECT_EQ(redfish::typeOfExtension(""), "application/octet-stream");
}

TEST(AMediaType, IsJsonWithAndWithoutParameters) {
    for (const char* const json :
         {"application/json", "application/json;charset=utf-8", "application/json ; charset=x"}) {
        EXPECT_TRUE(redfish::isJson(json)) << json;
    }
    for (const char* const other : {"", "text/plain", "application/jsonx", "application/xml"}) {
        EXPECT_FALSE(redfish::isJson(other)) << other;
    }
}

TEST(AMediaType, IsAcceptedByNameKindOrAnything) {
    for (const char* const accept :
         {"", "*/*", "application/*", "application/json", "text/html, application/json;q=0.5"}) {
        EXPECT_TRUE(redfish::accepts(accept, redfish::kJsonType)) << accept;
    }
    for (const char* const accept : {"text/html", "text/*", "application/xml"}) {
        EXPECT_FALSE(redfish::accepts(accept, redfish::kJsonType)) << accept;
    }
}

} // namespace
