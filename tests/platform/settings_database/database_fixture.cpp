#include "tests/platform/settings_database/database_fixture.h"

#include "tests/support/child_process.h"
#include "text.h"

#include <algorithm>

namespace test {

std::string sqlite(const std::string& path, const std::string& sql) {
    const Finished finished = run({"sqlite3", "-batch", path, sql});
    return finished.output + finished.error;
}

std::string columnsOf(const std::string& path, const std::string& table) {
    return sqlite(path, "SELECT group_concat(name) FROM (SELECT name FROM pragma_table_info('" +
                            table + "') ORDER BY cid)");
}

Database::Database(const std::string& path) {
    copyBounded(handle_.path, path);
}

std::vector<std::string> Result::values(unsigned int row, int columns) const {
    std::vector<std::string> texts;
    texts.reserve(static_cast<std::size_t>(columns));
    for (int i = 0; i < columns; ++i) {
        texts.emplace_back(boundedText(rows[row][i].value));
    }
    return texts;
}

Row::Row(const NamesAndValues& columns) {
    columns_.reserve(columns.size());
    for (const auto& [name, value] : columns) {
        tql_update_ssqlcol_struct(&columns_.emplace_back(), 1, name.c_str(), value.c_str());
    }
    row_ = {static_cast<unsigned int>(columns_.size()), columns_.data()};
}

std::vector<std::string> DatabaseTest::files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string processPath() {
    return std::filesystem::canonical("/proc/self/exe").parent_path() / "settings_database_process";
}

int countOf(const std::string& text, char letter) {
    return static_cast<int>(std::count(text.begin(), text.end(), letter));
}

std::string DatabaseTest::damagedFile() const {
    for (const std::string& name : files()) {
        if (name.find(".damaged-") != std::string::npos && name.find("-wal") == std::string::npos &&
            name.find("-shm") == std::string::npos && name.find("-journal") == std::string::npos) {
            return name;
        }
    }
    return {};
}

} // namespace test
