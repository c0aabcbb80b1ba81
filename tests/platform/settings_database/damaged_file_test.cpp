// Files damaged in many ways: each is kept under another name and replaced.
#include "tests/platform/settings_database/database_fixture.h"

#include <fstream>
#include <regex>

namespace test {
namespace {

constexpr std::size_t kPageSize = 4096;

void overwrite(const std::string& path, std::size_t offset, const std::string& bytes) {
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(offset));
    file << bytes;
}

std::string noise(std::size_t size) {
    std::string bytes;
    unsigned int state = 12345;
    while (bytes.size() < size) {
        state = state * 1103515245U + 12345U;
        bytes += static_cast<char>(state >> 16U);
    }
    return bytes;
}

class DamagedFileTest : public DatabaseTest {
protected:
    // A closed database of several pages.
    void makeDatabase() {
        ASSERT_EQ(Database(path()).open(), 1);
        sqlite(path(), "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<300) "
                       "INSERT INTO Misc SELECT 'k'||i, 'some longer value for the page' FROM n");
        ASSERT_GE(std::filesystem::file_size(path()), 5 * kPageSize);
    }

    // Opens the damaged file: makes a new one, keeps the old one byte for byte, logs one line.
    void expectReplaced(const std::string& reason = "") {
        const std::string before = readFile(path());
        testing::internal::CaptureStderr();
        Database database(path());
        EXPECT_EQ(database.open(), 1);
        const std::string line = testing::internal::GetCapturedStderr();
        EXPECT_EQ(database.handle()->ready, 1);
        EXPECT_EQ(database.handle()->schemaLevel, 2);
        EXPECT_EQ(sqlite(path(), "SELECT * FROM webgui_tbl"), kDefaultRow);
        EXPECT_EQ(sqlite(path(), "PRAGMA integrity_check"), "ok\n");
        const std::string kept = damagedFile();
        EXPECT_TRUE(
            std::regex_match(kept, std::regex(R"(webgui\.db\.damaged-\d{8}T\d{6}Z(-\d+)?)")))
            << kept;
        EXPECT_TRUE(readFile(folder().file(kept)) == before);
        EXPECT_EQ(countOf(line, '\n'), 1);
        EXPECT_THAT(line, testing::StartsWith("[open_database]: " + path() + " is damaged ("));
        EXPECT_THAT(line, testing::HasSubstr(reason));
        EXPECT_THAT(line, testing::EndsWith("): kept as " + folder().file(kept) +
                                            ", starting with a new one\n"));
        database.close();
        EXPECT_EQ(Database(path()).open(), 0);
    }
};

using DamagedFile = DamagedFileTest;

TEST_F(DamagedFile, OfRandomBytesIsReplaced) {
    writeFile(path(), noise(20000));
    expectReplaced("file is not a database");
}

TEST_F(DamagedFile, OfAnySmallSizeIsReplaced) {
    for (const std::size_t size : {1U, 15U, 16U, 17U, 99U, 100U, 101U, 511U, 512U}) {
        SCOPED_TRACE(size);
        const TemporaryFolder fresh;
        const std::string file = fresh.file("x.db");
        writeFile(file, noise(size));
        testing::internal::CaptureStderr();
        EXPECT_EQ(Database(file).open(), 1);
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(sqlite(file, "SELECT * FROM webgui_tbl"), kDefaultRow);
    }
}

TEST_F(DamagedFile, OfZeroesIsReplaced) {
    writeFile(path(), std::string(8192, '\0'));
    expectReplaced("file is not a database");
}

TEST_F(DamagedFile, OfTextIsReplaced) {
    writeFile(path(), "<html>404 not found</html>\n");
    expectReplaced("file is not a database");
}

TEST_F(DamagedFile, WhoseEndIsMissingIsReplaced) {
    for (const std::size_t size : {50U, 100U, 1000U, 4096U, 5000U, 12288U}) {
        SCOPED_TRACE(size);
        std::filesystem::remove(folder().file(damagedFile().empty() ? "none" : damagedFile()));
        std::filesystem::remove(path());
        makeDatabase();
        std::filesystem::resize_file(path(), size);
        expectReplaced();
    }
}

TEST_F(DamagedFile, WithAnOverwrittenHeaderIsReplaced) {
    makeDatabase();
    overwrite(path(), 0, noise(100));
    expectReplaced("file is not a database");
}

TEST_F(DamagedFile, OfAnUnknownFormatIsReplaced) {
    const struct {
        std::size_t offset;
        std::string bytes;
    } cases[] = {{16, std::string("\x03\x03", 2)},
                 {18, "\x09"},
                 {19, "\x09"},
                 {18, "\x09\x09"},
                 {20, "\xff"},
                 {21, "\x01"},

                 {47, "\x09"}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.offset);
        const std::string old = damagedFile();
        std::filesystem::remove(path());
        if (!old.empty()) {
            std::filesystem::remove(folder().file(old));
        }
        makeDatabase();
        overwrite(path(), each.offset, each.bytes);
        expectReplaced();
    }
}

TEST_F(DamagedFile, WithAnyOverwrittenPageIsReplaced) {
    for (const std::size_t page : {0U, 1U, 2U, 4U}) {
        SCOPED_TRACE(page);
        const std::string old = damagedFile();
        std::filesystem::remove(path());
        if (!old.empty()) {
            std::filesystem::remove(folder().file(old));
        }
        makeDatabase();
        // Behind the header of the file: damages the rest of the first page.
        overwrite(path(), page * kPageSize + 100, noise(kPageSize - 100));
        if (page != 0) {
            overwrite(path(), page * kPageSize, noise(100));
        }
        expectReplaced();
    }
}

TEST_F(DamagedFile, WithAMalformedSchemaIsReplaced) {
    makeDatabase();
    // Not by SQL: the shell of Debian 13 protects the schema.
    const std::size_t statement = readFile(path()).find("CREATE TABLE \"Misc\"");
    ASSERT_NE(statement, std::string::npos);
    overwrite(path(), statement, "CREATE TABLE (     ");
    expectReplaced("malformed database schema");
}

TEST_F(DamagedFile, TakesItsLogWithIt) {
    {
        Database other(folder().file("live.db"));
        ASSERT_EQ(other.open(), 1);
        sqlite(folder().file("live.db"), "UPDATE webgui_tbl SET Language='in the log'");
        // Copied while it is open, as a power cut leaves it.
        std::filesystem::copy_file(folder().file("live.db"), path());
        std::filesystem::copy_file(folder().file("live.db-wal"), path() + "-wal");
        std::filesystem::copy_file(folder().file("live.db-shm"), path() + "-shm");
    }
    overwrite(path(), 0, noise(100));
    const std::string log = readFile(path() + "-wal");
    ASSERT_FALSE(log.empty());
    writeFile(path() + "-wal", log.substr(0, 24)); // its header alone, without page 1
    const std::string kept = readFile(path() + "-wal");
    expectReplaced("file is not a database");
    EXPECT_EQ(readFile(folder().file(damagedFile() + "-wal")), kept);
    EXPECT_TRUE(std::filesystem::exists(folder().file(damagedFile() + "-shm")));
}

TEST_F(DamagedFile, TakesItsJournalWithIt) {
    writeFile(path(), noise(9000));
    // One that SQLite no longer needs and leaves in place.
    const std::string journal = std::string(1, '\0') + "used up";
    writeFile(path() + "-journal", journal);
    expectReplaced("file is not a database");
    EXPECT_EQ(readFile(folder().file(damagedFile() + "-journal")), journal);
    EXPECT_FALSE(std::filesystem::exists(path() + "-journal"));
}

TEST_F(DamagedFile, GetsACounterWhenItsNameIsTaken) {
    for (int i = 0; i < 6; ++i) {
        writeFile(path(), "damaged " + std::to_string(i));
        testing::internal::CaptureStderr();
        EXPECT_EQ(Database(path()).open(), 1);
        testing::internal::GetCapturedStderr();
    }
    // Of six in quick succession at least two share a second; none is lost.
    std::vector<std::string> contents;
    for (const std::string& name : files()) {
        if (name != "webgui.db") {
            contents.push_back(readFile(folder().file(name)));
        }
    }
    EXPECT_THAT(contents, testing::UnorderedElementsAre("damaged 0", "damaged 1", "damaged 2",
                                                        "damaged 3", "damaged 4", "damaged 5"));
}

TEST_F(DamagedFile, BehindALinkIsKeptBesideTheFileAndTheLinkStays) {
    std::filesystem::create_directory(folder().file("real"));
    writeFile(folder().file("real/file.db"), "damaged");
    std::filesystem::create_symlink("real/file.db", path());
    testing::internal::CaptureStderr();
    EXPECT_EQ(Database(path()).open(), 1);
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(std::filesystem::is_symlink(path()));
    int kept = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder().file("real"))) {
        kept += entry.path().filename().string().find("file.db.damaged-") == 0 ? 1 : 0;
    }
    EXPECT_EQ(kept, 1);
    EXPECT_EQ(sqlite(folder().file("real/file.db"), "SELECT count(*) FROM webgui_tbl"), "1\n");
}

} // namespace
} // namespace test
