// A settings database in a folder of the test's own, written by the library and read back with the
// sqlite3 command, which shares no code with it.
#pragma once

#include "platform/settings_database.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace test {

// The row of a new panel, as the sqlite3 command prints it.
constexpr const char* kDefaultRow =
    "Zolan CMS Web GUI Settings|true|English|5|Never|Enabled|10 Minutes|Metric|YYYY-MM-DD|"
    "24 Hours|NO|false|24 Hours\n";
constexpr const char* kColumnNames =
    "Name,InitBoot,Language,Brightness,BacklightOff,Screensaver,Timer,Measurement,DateFormat,"
    "TimeFormat,HasAlert,RoomAverage,HiLoPeriod\n";
constexpr const char* kNameCondition = "where Name is 'Zolan CMS Web GUI Settings'";
constexpr const char* kTable = "webgui_tbl";

// Runs the sqlite3 command with this text. Returns its output, or its error message.
std::string sqlite(const std::string& path, const std::string& sql);

// The names of the table's columns in order, as in kColumnNames.
std::string columnsOf(const std::string& path, const std::string& table);

// The program of settings_database_process.cpp, which lies beside the test.
std::string processPath();

int countOf(const std::string& text, char letter);

// A handle, closed in the destructor.
class Database {
public:
    explicit Database(const std::string& path);
    ~Database() { close_database(&handle_); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    int open() { return open_database(&handle_, 2); }
    void close() { close_database(&handle_); }
    SettingsDatabase* handle() { return &handle_; }

private:
    SettingsDatabase handle_{};
};

// A result, freed in the destructor.
struct Result : SettingsTable {
    Result() : SettingsTable{} {}
    ~Result() { free_sql_tbl(this); }
    Result(const Result&) = delete;
    Result& operator=(const Result&) = delete;

    std::vector<std::string> values(unsigned int row, int columns) const;
};

using NamesAndValues = std::vector<std::pair<std::string, std::string>>;

// A row to write, of texts.
class Row {
public:
    explicit Row(const NamesAndValues& columns);
    Row(const Row&) = delete;
    Row& operator=(const Row&) = delete;

    const SettingsRow* get() const { return &row_; }
    SettingsColumn& column(std::size_t i) { return columns_.at(i); }

private:
    std::vector<SettingsColumn> columns_;
    SettingsRow row_{};
};

class DatabaseTest : public testing::Test {
protected:
    std::string path() const { return folder_.file("webgui.db"); }
    const TemporaryFolder& folder() const { return folder_; }
    // The names in the folder, sorted.
    std::vector<std::string> files() const;
    // The one name in the folder that contains ".damaged-" and is not a companion; empty if there
    // is none.
    std::string damagedFile() const;

private:
    TemporaryFolder folder_;
};

} // namespace test
