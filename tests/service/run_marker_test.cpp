// The run marker: attempts, pauses, old markers, symbolic links: service/run_marker.cpp.
#include "service/run_marker.h"
#include "tests/doubles/platform_test.h"
#include "tests/support/mount_namespace.h"
#include "tests/support/temporary_folder.h"

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr char kOpen[] = "open(\"/tmp/run/Stidre.run\", "
                         "O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC)";
constexpr char kSleep[] = "sleep(2)";

class RunMarker : public doubles::PlatformTest {};

TEST_F(RunMarker, IsCreatedAtTheFirstAttempt) {
    createRunMarker();
    EXPECT_THAT(doubles::calls(), ElementsAre(kOpen));
    EXPECT_EQ(output() + errors(), "");
}

TEST_F(RunMarker, IsTriedAgainAfterASleepForEachFailure) {
    for (int failures = 1; failures <= 5; ++failures) {
        doubles::files().markerFailures = failures;
        createRunMarker();
        std::vector<std::string> expected;
        for (int i = 0; i < failures; ++i) {
            expected.insert(expected.end(), {kOpen, kSleep});
        }
        expected.emplace_back(kOpen);
        EXPECT_THAT(doubles::calls(), ElementsAreArray(expected)) << failures;
    }
    EXPECT_EQ(output() + errors(), "");
}

TEST_F(RunMarker, IsGivenUpSilentlyAfterSixFailuresAndSixSleeps) {
    doubles::files().markerFailures = 100;
    createRunMarker();
    EXPECT_THAT(doubles::calls(), ElementsAre(kOpen, kSleep, kOpen, kSleep, kOpen, kSleep, kOpen,
                                              kSleep, kOpen, kSleep, kOpen, kSleep));
    EXPECT_EQ(output() + errors(), "");
}

// The real path in an empty "/tmp".
TEST_F(RunMarker, IsGivenUpWithoutItsFolderWhichIsNotCreated) {
    EXPECT_PASSED(test::inMountNamespace([] {
        test::mountTmpfs("/tmp", "size=1m");
        doubles::files().markerPath = doubles::kRunMarkerFile;
        createRunMarker();
        EXPECT_THAT(doubles::calls(), ElementsAre(kOpen, kSleep, kOpen, kSleep, kOpen, kSleep,
                                                  kOpen, kSleep, kOpen, kSleep, kOpen, kSleep));
        EXPECT_FALSE(std::filesystem::exists("/tmp/run"));
        std::filesystem::create_directory("/tmp/run");
        createRunMarker();
        EXPECT_THAT(doubles::calls(), ElementsAre(kOpen));
        EXPECT_TRUE(std::filesystem::exists(doubles::kRunMarkerFile));
    }));
}

TEST_F(RunMarker, IsEmptiedIfItExists) {
    const test::TemporaryFolder folder;
    const std::string path = folder.file("marker");
    test::writeFile(path, "old");
    doubles::files().markerPath = path;
    createRunMarker();
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(std::filesystem::file_size(path), 0U);
}

TEST_F(RunMarker, IsNotCreatedThroughASymbolicLink) {
    const test::TemporaryFolder folder;
    const std::string target = folder.file("target");
    test::writeFile(target, "not ours");
    doubles::files().markerPath = folder.file("marker");
    std::filesystem::create_symlink(target, folder.file("marker"));
    createRunMarker();
    EXPECT_EQ(test::readFile(target), "not ours");
    EXPECT_EQ(doubles::callsOf("sleep").size(), 6U);
}

TEST_F(RunMarker, HasThePermissionsThatTheUmaskLeaves) {
    const test::TemporaryFolder folder;
    doubles::files().markerPath = folder.file("marker");
    const mode_t umask = ::umask(0022);
    createRunMarker();
    ::umask(umask);
    EXPECT_EQ(std::filesystem::status(folder.file("marker")).permissions(),
              std::filesystem::perms{0644});
}

TEST_F(RunMarker, IsCreatedOnDescriptorZeroToo) {
    const int input = ::dup(STDIN_FILENO);
    ASSERT_GT(input, 0);
    ::close(STDIN_FILENO);
    createRunMarker();
    EXPECT_THAT(doubles::calls(), ElementsAre(kOpen));
    EXPECT_EQ(::dup2(input, STDIN_FILENO), STDIN_FILENO);
    ::close(input);
}

TEST_F(RunMarker, IsClosedAtOnce) {
    const auto openFiles = [] {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return std::distance(begin(files), end(files));
    };
    const auto before = openFiles();
    createRunMarker();
    EXPECT_EQ(openFiles(), before);
}

} // namespace
