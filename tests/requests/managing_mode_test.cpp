// The managing mode: environment first, then the file.
#include "requests/managing_mode.h"

#include "tests/doubles/platform_test.h"
#include "tests/support/temporary_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <ranges>
#include <string>
#include <sys/stat.h>

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class ManagingMode : public doubles::PlatformTest {
protected:
    ManagingMode() { ::unsetenv("ManagingMode"); }
    ~ManagingMode() override { ::unsetenv("ManagingMode"); }

public:
    ManagingMode(const ManagingMode&) = delete;
    ManagingMode& operator=(const ManagingMode&) = delete;

protected:
    static int withEnvironment(const std::string& text) {
        ::setenv("ManagingMode", text.c_str(), 1);
        return getManagingMode();
    }
    static int withFile(const std::string& text) {
        ::unsetenv("ManagingMode");
        doubles::files().managingMode = text;
        return getManagingMode();
    }
    static std::string environment() {
        const char* const text = std::getenv("ManagingMode");
        return text == nullptr ? "(unset)" : text;
    }
};

TEST_F(ManagingMode, TakesTheEnvironmentsNumberButAtMostTwo) {
    EXPECT_EQ(withEnvironment("0"), 0);
    EXPECT_EQ(withEnvironment("1"), 1);
    EXPECT_EQ(withEnvironment("2"), 2);
    EXPECT_EQ(withEnvironment("7"), 2);
    EXPECT_EQ(withEnvironment("-3"), -3);
}

TEST_F(ManagingMode, TakesATextThatIsNotANumberAsZero) {
    EXPECT_EQ(withEnvironment(""), 0);
    EXPECT_EQ(withEnvironment("abc"), 0);
    EXPECT_EQ(withEnvironment("Varrow"), 0);
    EXPECT_EQ(withEnvironment("1abc"), 1);
    EXPECT_EQ(withEnvironment("0x1"), 0);
}

TEST_F(ManagingMode, ClampsNumbersThatAreTooLarge) {
    EXPECT_EQ(withEnvironment("4294967296"), 2);
    EXPECT_EQ(withEnvironment("99999999999999999999"), 2);
    EXPECT_EQ(withEnvironment("-4294967296"), std::numeric_limits<int>::min());
    EXPECT_EQ(withEnvironment("-99999999999999999999"), std::numeric_limits<int>::min());
}

TEST_F(ManagingMode, DoesNotOpenTheFileWhenTheEnvironmentIsSet) {
    doubles::files().managingMode = "Varrow";
    for (const std::string text : {"0", "7", "-3", ""}) {
        withEnvironment(text);
        EXPECT_EQ(environment(), text);
    }
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

TEST_F(ManagingMode, KeepsAKnownWordInTheEnvironment) {
    EXPECT_EQ(withFile("Tinvale"), 0);
    EXPECT_EQ(environment(), "0");
    EXPECT_EQ(withFile("Varrow"), 1);
    EXPECT_EQ(environment(), "1");
}

TEST_F(ManagingMode, OpensTheFileForReadingOnceAndThenAsksTheEnvironment) {
    EXPECT_EQ(withFile("Varrow"), 1);
    EXPECT_EQ(getManagingMode(), 1);
    EXPECT_THAT(doubles::calls(), ElementsAre("open(\"/var/database/CoolingUnitManagingMode.txt\", "
                                              "O_RDONLY | O_NONBLOCK | O_CLOEXEC)"));
}

TEST_F(ManagingMode, ReadsOnlyTheFirstWord) {
    EXPECT_EQ(withFile("Varrow and more\nTinvale\n"), 1);
    EXPECT_EQ(environment(), "1");
    EXPECT_EQ(withFile(" \n\t Tinvale\nVarrow"), 0);
}

TEST_F(ManagingMode, IsTwoForAnyOtherWordAndLeavesTheEnvironmentAlone) {
    for (const std::string& text :
         {""s, " \n"s, "varrow"s, "TINVALE"s, "Varrows"s, "Tinval"s, "0"s, "1"s, "Varrow,"s,
          "Other Varrow"s, "Varrowxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"s, "Varrow\0more"s,
          "Varrow\0"s, "\0Varrow"s, "Tinvale\0 Tinvale"s}) {
        SCOPED_TRACE(testing::PrintToString(text));
        EXPECT_EQ(withFile(text), 2);
        EXPECT_EQ(environment(), "(unset)");
    }
}

TEST_F(ManagingMode, IsTwoAtOnceForAFifoThatNobodyWritesTo) {
    const test::TemporaryFolder folder;
    ASSERT_EQ(::mkfifo(folder.file("fifo").c_str(), 0600), 0);
    doubles::files().managingModePath = folder.file("fifo");
    EXPECT_EQ(getManagingMode(), 2); // would otherwise hang
    EXPECT_EQ(environment(), "(unset)");
}

TEST_F(ManagingMode, IsTwoAtOnceForAFifoWhoseWriterIsSilent) {
    const test::TemporaryFolder folder;
    ASSERT_EQ(::mkfifo(folder.file("fifo").c_str(), 0600), 0);
    const std::fstream writer(folder.file("fifo"));
    ASSERT_TRUE(writer.is_open());
    doubles::files().managingModePath = folder.file("fifo");
    EXPECT_EQ(getManagingMode(), 2);
}

TEST_F(ManagingMode, IsTwoForAFolder) {
    doubles::files().managingModePath = "/";
    EXPECT_EQ(getManagingMode(), 2);
}

TEST_F(ManagingMode, IsTwoWithoutAFile) {
    EXPECT_EQ(getManagingMode(), 2);
    EXPECT_EQ(environment(), "(unset)");
}

TEST_F(ManagingMode, ClosesTheFile) {
    const auto openFiles = [] {
        return std::ranges::distance(std::filesystem::directory_iterator("/proc/self/fd"));
    };
    const auto before = openFiles();
    for (const std::string text : {"Varrow", "Other", ""}) {
        withFile(text);
        EXPECT_EQ(openFiles(), before) << text;
    }
}

TEST_F(ManagingMode, LogsNothing) {
    getManagingMode();
    withFile("Other");
    withFile("Varrow");
    EXPECT_EQ(output(), "");
    EXPECT_EQ(errors(), "");
}

} // namespace
