// Every call runs with its n-th allocation failing, for every n until it succeeds; SQLite's
// allocations count too. This program replaces the C library's allocator.
#include "tests/platform/settings_database/database_fixture.h"

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <unistd.h>

namespace {

constexpr int kNever = -1;
thread_local int allocationsLeft = kNever;
thread_local bool hasFailed = false;

bool mustFail() {
    if (allocationsLeft == kNever || --allocationsLeft != 0) {
        return false;
    }
    allocationsLeft = kNever;
    hasFailed = true;
    errno = ENOMEM;
    return true;
}

} // namespace

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);

void* malloc(std::size_t size) {
    return mustFail() ? nullptr : __libc_malloc(size);
}
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): libc's are reserved
void* calloc(std::size_t count, std::size_t size) {
    return mustFail() ? nullptr : __libc_calloc(count, size);
}
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): libc's are reserved
void* realloc(void* memory, std::size_t size) {
    return mustFail() ? nullptr : __libc_realloc(memory, size);
}
}

namespace test {
namespace {

constexpr int kSweepLimit = 20000;

class OutOfMemoryTest : public DatabaseTest {
protected:
    // Thousands of openings would sync too much for a disk.
    static void SetUpTestSuite() {
        if (::access("/dev/shm", W_OK) == 0) {
            ::setenv("TMPDIR", "/dev/shm", 1);
        }
    }

    // Runs `call` with the n-th allocation failing, then `check`, for n = 1, 2, ... Returns how
    // many failed before a call met no failure.
    static int sweep(const std::function<void()>& call, const std::function<void()>& check) {
        for (int n = 1; n < kSweepLimit; ++n) {
            SCOPED_TRACE("allocation " + std::to_string(n));
            testing::internal::CaptureStderr();
            hasFailed = false;
            allocationsLeft = n;
            call();
            allocationsLeft = kNever;
            testing::internal::GetCapturedStderr();
            check();
            if (HasFailure()) {
                return -1;
            }
            if (!hasFailed) {
                return n - 1;
            }
        }
        return -1;
    }

    // Opens with failing allocations in the state that `prepare` makes. The file is opened or
    // refused, never taken for damaged, and has the expected row afterwards.
    int sweepOpening(const std::function<void()>& prepare, const std::string& wanted) {
        Database database(path());
        int code = 0;
        prepare();
        return sweep([&] { code = database.open(); },
                     [&] {
                         EXPECT_GE(code, -1);
                         EXPECT_EQ(database.handle()->ready, code < 0 ? 0 : 1);
                         EXPECT_EQ(database.handle()->connection == nullptr, code < 0);
                         database.close();
                         EXPECT_GE(database.open(), 0);
                         EXPECT_EQ(sqlite(path(), "SELECT Language FROM webgui_tbl"), wanted);
                         EXPECT_EQ(damagedFile(), "");
                         database.close();
                         std::filesystem::remove(path());
                         prepare();
                     });
    }
};

using OutOfMemory = OutOfMemoryTest;

TEST_F(OutOfMemory, InTheFirstOpeningIsNoDamage) {
    EXPECT_GT(sweepOpening([] {}, "English\n"), 20);
}

TEST_F(OutOfMemory, InAnUpgradeIsNoDamage) {
    const std::string older = folder().file("older.db");
    sqlite(older, "CREATE TABLE webgui_tbl(Language,Name); INSERT INTO webgui_tbl "
                  "VALUES('Dansk','Zolan CMS Web GUI Settings')");
    EXPECT_GT(sweepOpening([&] { std::filesystem::copy_file(older, path()); }, "Dansk\n"), 20);
}

TEST_F(OutOfMemory, InAQueryGivesAnEmptyResult) {
    Database database(path());
    ASSERT_EQ(database.open(), 1);
    sqlite(path(), "INSERT INTO Misc VALUES('a',1),('b',2),('c',3),('d',4),('e',5),('f',6)");
    Result result;
    int code = 0;
    const int failures = sweep(
        [&] { code = query_database_dat_with_condition(database.handle(), "Misc", &result, ""); },
        [&] {
            EXPECT_EQ(result.rowCount, code == 0 ? 6U : 0U);
            EXPECT_EQ(result.rows == nullptr, code != 0);
            free_sql_tbl(&result);
        });
    EXPECT_GT(failures, 5);
    EXPECT_EQ(code, 0);
}

TEST_F(OutOfMemory, InAnUpdateLeavesTheOldRowOrTheNewOne) {
    Database database(path());
    ASSERT_EQ(database.open(), 1);
    int round = 0;
    int code = 0;
    std::string before = "10 Minutes\n";
    const int failures = sweep(
        [&] {
            SettingsColumn column{};
            tql_update_ssqlcol_struct(&column, 1, "Timer", ++round % 2 == 0 ? "even" : "odd");
            const SettingsRow row{1, &column};
            code = update_database_table_with_condition(database.handle(), kTable, &row,
                                                        kNameCondition);
        },
        [&] {
            const std::string after = sqlite(path(), "SELECT Timer FROM webgui_tbl");
            EXPECT_EQ(after, code != 0 ? before : round % 2 == 0 ? "even\n" : "odd\n");
            before = after;
        });
    EXPECT_GT(failures, 3);
    EXPECT_EQ(code, 0);
}

} // namespace
} // namespace test
