// Processes killed in the middle of a change. A sweep stops half-way through the n-th change of a
// file and kills the process, for every n until it survives; the database must stay whole.
#include "tests/platform/settings_database/database_fixture.h"

#include "tests/support/child_process.h"
#include "tests/support/wait_until.h"

#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

namespace test {
namespace {

constexpr int kKilled = 128 + SIGKILL;
constexpr int kSweepLimit = 500;

class InterruptionTest : public DatabaseTest {
protected:
    // For n = 1, 2, ...: prepares, runs `command`, and checks what the killed process left behind.
    // Returns the number of kills.
    int sweep(const std::string& command, const std::function<void()>& prepare,
              const std::function<void()>& check) {
        for (int n = 1; n < kSweepLimit; ++n) {
            SCOPED_TRACE("killed at change " + std::to_string(n));
            clear();
            prepare();
            const Finished finished = run({processPath(), command, path(), std::to_string(n)});
            if (finished.status != kKilled) {
                lastStatus_ = finished.status;
                return n - 1;
            }
            check();
            if (HasFailure()) {
                return -1;
            }
        }
        return -1;
    }
    int lastStatus() const { return lastStatus_; }

    int openAgain() {
        Database database(path());
        return database.open();
    }

private:
    void clear() {
        for (const std::string& name : files()) {
            std::filesystem::remove_all(folder().file(name));
        }
    }

    int lastStatus_ = -1;
};

using Interruption = InterruptionTest;

TEST_F(Interruption, OfTheFirstOpeningLeavesAFileThatOpens) {
    const int kills = sweep(
        "open-killed", [] {},
        [this] {
            EXPECT_THAT(openAgain(), testing::AnyOf(0, 1));
            EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl"), kDefaultRow);
            EXPECT_EQ(damagedFile(), "");
        });
    EXPECT_GE(kills, 5);
    EXPECT_EQ(lastStatus(), 11);
}

TEST_F(Interruption, OfAnUpgradeLeavesTheOldOrTheNewTables) {
    const std::string create =
        "CREATE TABLE webgui_tbl(Language, Extra, Name); INSERT INTO webgui_tbl "
        "VALUES('Dansk','kept','Zolan CMS Web GUI Settings'),('x','y','z')";
    const int kills = sweep(
        "open-killed", [&] { sqlite(path(), create); },
        [this] {
            EXPECT_EQ(sqlite(path(), "PRAGMA integrity_check"), "ok\n");
            const bool isOld = columnsOf(path(), "webgui_tbl") == "Language,Extra,Name\n";
            if (isOld) {
                EXPECT_EQ(sqlite(path(), "SELECT count(*) FROM sqlite_master"), "1\n");
                EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl"),
                          "Dansk|kept|Zolan CMS Web GUI Settings\nx|y|z\n");
            }
            EXPECT_EQ(openAgain(), isOld ? 2 : 0);
            EXPECT_EQ(columnsOf(path(), "webgui_tbl"), kColumnNames);
            EXPECT_EQ(sqlite(path(), "SELECT Name, Language FROM webgui_tbl"),
                      "Zolan CMS Web GUI Settings|Dansk\nz|x\n");
            EXPECT_EQ(sqlite(path(), "SELECT Extra FROM webgui_tbl_old_1"), "kept\ny\n");
            EXPECT_EQ(columnsOf(path(), "webgui_tbl_old_2"), "\n");
            EXPECT_EQ(damagedFile(), "");
        });
    EXPECT_GE(kills, 5);
    EXPECT_EQ(lastStatus(), 12);
}

TEST_F(Interruption, OfSettingAsideKeepsTheDamagedFile) {
    const int kills = sweep(
        "open-killed",
        [this] {
            writeFile(path(), "not a database at all");
            writeFile(path() + "-journal", std::string(1, '\0') + "used up");
        },
        [this] {
            testing::internal::CaptureStderr();
            EXPECT_THAT(openAgain(), testing::AnyOf(0, 1));
            testing::internal::GetCapturedStderr();
            EXPECT_EQ(readFile(folder().file(damagedFile())), "not a database at all");
            EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl"), kDefaultRow);
        });
    EXPECT_GE(kills, 7);
    EXPECT_EQ(lastStatus(), 11);
}

TEST_F(Interruption, OfAnUpdateLeavesTheOldOrTheNewRow) {
    const std::string newRow =
        "Zolan CMS Web GUI Settings|new|new|new|new|new|new|new|new|new|new|new|new\n";
    const int kills = sweep(
        "update-killed", [this] { ASSERT_EQ(openAgain(), 1); },
        [&, this] {
            EXPECT_EQ(openAgain(), 0);
            EXPECT_THAT(sqlite(path(), "SELECT * FROM webgui_tbl"),
                        testing::AnyOf(kDefaultRow, newRow));
            EXPECT_EQ(damagedFile(), "");
        });
    EXPECT_GE(kills, 3);
    EXPECT_EQ(lastStatus(), 0);
    EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl"), newRow);
}

TEST_F(Interruption, OfAWriterAtAnyMomentLeavesAWholeRow) {
    ASSERT_EQ(openAgain(), 1);
    const std::string rows[] = {
        kDefaultRow,
        "Zolan CMS Web GUI Settings|first|first|first|first|first|first|first|first|first|first|"
        "first|first\n",
        "Zolan CMS Web GUI Settings|second|second|second|second|second|second|second|second|"
        "second|second|second|second\n"};
    const TemporaryFolder outputs;
    for (int round = 0; round < 50; ++round) {
        SCOPED_TRACE(round);
        const std::string output = outputs.file(std::to_string(round));
        ChildProcess writer({processPath(), "write", path()}, {}, output);
        ASSERT_TRUE(waitUntil([&] { return !readFile(output).empty(); }));
        // Each round kills at another moment of the writes.
        std::this_thread::sleep_for(std::chrono::microseconds(137 * round));
        writer.signal(SIGKILL);
        ASSERT_EQ(writer.wait(), kKilled);
        // Acknowledged writes last: an even number of them ends with "second".
        const std::size_t acknowledged = readFile(output).size();
        const std::string& last = rows[acknowledged % 2 == 0 ? 2 : 1];
        const std::string& next = rows[acknowledged % 2 == 0 ? 1 : 2];
        ASSERT_THAT(sqlite(path(), "SELECT * FROM webgui_tbl"), testing::AnyOf(last, next));
        ASSERT_EQ(openAgain(), 0);
        ASSERT_EQ(sqlite(path(), "PRAGMA integrity_check"), "ok\n");
    }
    EXPECT_EQ(damagedFile(), "");
}

TEST_F(Interruption, ByOtherProcessesThatOpenTheSameFileMakesItOnce) {
    for (int round = 0; round < 5; ++round) {
        const std::string file = folder().file("shared-" + std::to_string(round) + ".db");
        std::vector<std::unique_ptr<ChildProcess>> processes(4);
        for (std::unique_ptr<ChildProcess>& process : processes) {
            process = std::make_unique<ChildProcess>(
                std::vector<std::string>{processPath(), "open", file});
        }
        int made = 0;
        for (const auto& process : processes) {
            const int status = process->wait().value_or(-1);
            EXPECT_THAT(status, testing::AnyOf(10, 11));
            made += status == 11 ? 1 : 0;
        }
        EXPECT_EQ(made, 1);
        EXPECT_EQ(sqlite(file, "SELECT * FROM webgui_tbl"), kDefaultRow);
    }
}

TEST_F(Interruption, ByOtherThreadsOnTheSameHandleLosesNothing) {
    Database database(path());
    ASSERT_EQ(database.open(), 1);
    constexpr int kRounds = 50;
    const char* const columns[] = {"Language", "Timer", "DateFormat"};
    std::vector<std::thread> threads;
    for (const char* column : columns) {
        threads.emplace_back([&database, column] {
            for (int i = 1; i <= kRounds; ++i) {
                const Row row(NamesAndValues{{column, std::to_string(i)}});
                EXPECT_EQ(update_database_table_with_condition(database.handle(), kTable, row.get(),
                                                               kNameCondition),
                          0);
                Result result;
                EXPECT_EQ(query_database_dat_with_condition(database.handle(), kTable, &result,
                                                            kNameCondition),
                          0);
                EXPECT_EQ(result.rowCount, 1U);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(sqlite(path(), "SELECT Language, Timer, DateFormat FROM webgui_tbl"), "50|50|50\n");
}

} // namespace
} // namespace test
