#include "redfish/service/static_files.h"

#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <gmock/gmock.h>

namespace {

using redfish::Response;
using redfish::StaticFiles;

class TheStaticFiles : public testing::Test {
protected:
    TheStaticFiles() {
        std::filesystem::create_directories(folder.path() / "web" / "assets");
        test::writeFile(folder.path() / "secret.txt", "secret");
        test::writeFile(folder.path() / "web" / "index.html", "<html>");
        test::writeFile(folder.path() / "web" / "assets" / "app.js", "code");
        test::writeFile(folder.path() / "web" / "assets" / "app.js.gz", "packed");
    }
    static std::string header(const Response& response, std::string_view name) {
        const auto found = std::find_if(response.headers.begin(), response.headers.end(),
                                        [name](const auto& each) { return each.first == name; });
        return found == response.headers.end() ? "" : found->second;
    }

    test::TemporaryFolder folder;
    StaticFiles files{folder.path() / "web"};
};

TEST_F(TheStaticFiles, AreServedWithTheirType) {
    const auto page = files.find("/", "");
    ASSERT_TRUE(page);
    EXPECT_EQ(*page->body, "<html>");
    EXPECT_EQ(page->contentType, "text/html; charset=utf-8");
    EXPECT_THAT(header(*page, "Content-Security-Policy"),
                testing::AllOf(testing::StartsWith("default-src 'none'"),
                               testing::Not(testing::HasSubstr("unsafe"))));
    EXPECT_EQ(files.find("/assets/app.js", "")->contentType, "text/javascript; charset=utf-8");
    EXPECT_EQ(*files.find("/index.html", "")->body, "<html>");
}

TEST_F(TheStaticFiles, AreServedCompressedToClientsThatAcceptIt) {
    const auto packed = files.find("/assets/app.js", "br, gzip");
    EXPECT_EQ(*packed->body, "packed");
    EXPECT_EQ(header(*packed, "Content-Encoding"), "gzip");
    EXPECT_EQ(packed->contentType, "text/javascript; charset=utf-8");
    EXPECT_EQ(*files.find("/assets/app.js", "br")->body, "code");
    EXPECT_EQ(*files.find("/index.html", "gzip")->body, "<html>") << "there is no packed one";
}

TEST_F(TheStaticFiles, AreReadAnewWhenTheyHaveChanged) {
    const std::string before = header(*files.find("/", ""), "ETag");
    EXPECT_EQ(header(*files.find("/", ""), "ETag"), before);
    test::writeFile(folder.path() / "web" / "index.html", "<html>new");
    EXPECT_EQ(*files.find("/", "")->body, "<html>new");
    EXPECT_NE(header(*files.find("/", ""), "ETag"), before);
}

TEST_F(TheStaticFiles, EndAtTheirFolder) {
    std::filesystem::create_symlink(folder.path() / "secret.txt", folder.path() / "web" / "link");
    std::filesystem::create_symlink("index.html", folder.path() / "web" / "inner");
    for (const char* const path : {"/../secret.txt", "/link", "//etc/passwd", "/none", "/assets"}) {
        EXPECT_FALSE(files.find(path, "")) << path;
    }
    EXPECT_TRUE(files.find("/inner", ""));
    EXPECT_FALSE(StaticFiles({}).find("/", ""));
}

} // namespace
