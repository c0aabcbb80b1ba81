#include "redis/credentials.h"

#include "tests/support/temporary_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

using redis::Credentials;
using redis::readCredentials;
using testing::HasSubstr;

class CredentialsFile : public testing::Test {
protected:
    CredentialsFile() { ::setenv("OSSEL_REDIS_CREDENTIALS", file.c_str(), 1); }
    ~CredentialsFile() override { ::unsetenv("OSSEL_REDIS_CREDENTIALS"); }

    Credentials readWith(const std::string& text, mode_t mode = 0640) const {
        std::filesystem::remove(file);
        std::ofstream(file) << text;
        ::chmod(file.c_str(), mode);
        return readCredentials();
    }

    test::TemporaryFolder folder;
    std::string file = folder.file("credentials");
};

TEST_F(CredentialsFile, HoldsUserAndPasswordInOneLine) {
    for (const char* text : {"user pass word", "user pass word\n"}) {
        const Credentials read = readWith(text);
        EXPECT_EQ(read.problem, "");
        EXPECT_EQ(read.user, "user");
        EXPECT_EQ(read.password, "pass word");
        EXPECT_TRUE(read.areGiven());
    }
}

TEST_F(CredentialsFile, IsNotAskedForWithoutTheVariable) {
    for (const char* path : {static_cast<const char*>(nullptr), ""}) {
        path == nullptr ? ::unsetenv("OSSEL_REDIS_CREDENTIALS")
                        : ::setenv("OSSEL_REDIS_CREDENTIALS", path, 1);
        const Credentials read = readCredentials();
        EXPECT_FALSE(read.areGiven());
        EXPECT_EQ(read.problem, "");
    }
}

TEST_F(CredentialsFile, OfAnotherFormIsRefusedWithoutShowingWhatItHolds) {
    for (const std::string& text :
         {std::string(), std::string("\n"), std::string("secret"), std::string("secret "),
          std::string(" secret"), std::string("user secret\nmore"),
          "user " + std::string(1020, 's')}) {
        const Credentials read = readWith(text);
        EXPECT_FALSE(read.areGiven()) << text;
        EXPECT_THAT(read.problem, HasSubstr("OSSEL_REDIS_CREDENTIALS \"" + file + "\": "));
        EXPECT_EQ(read.problem.find("secret"), std::string::npos);
    }
}

TEST_F(CredentialsFile, OpenToOthersIsRefused) {
    for (const mode_t mode : {mode_t{0644}, mode_t{0660}, mode_t{0602}, mode_t{0601}}) {
        EXPECT_THAT(readWith("user secret", mode).problem,
                    HasSubstr("open to others; chmod 640 or 600"))
            << mode;
    }
    EXPECT_EQ(readWith("user secret", 0600).problem, "");
}

TEST_F(CredentialsFile, ThatIsNoFileIsRefusedAtOnce) {
    EXPECT_THAT(readCredentials().problem, HasSubstr("No such file"));
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    EXPECT_THAT(readCredentials().problem, HasSubstr("not a regular file"));
    ::setenv("OSSEL_REDIS_CREDENTIALS", folder.path().c_str(), 1);
    EXPECT_THAT(readCredentials().problem, HasSubstr("not a regular file"));
}

TEST(Refusal, ShowsTheFirstWordOfTheAnswerAlone) {
    EXPECT_EQ(redis::describeRefusal("WRONGPASS invalid username-password pair: secret"),
              "AUTH refused: WRONGPASS");
}

} // namespace
