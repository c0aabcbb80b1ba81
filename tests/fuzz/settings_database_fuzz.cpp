// A settings database of arbitrary contents, opened and used by the daemon's own agent on the
// real library: whatever the file holds, it is usable afterwards, made anew or brought up to date,
// and opening it once more finds nothing to do. database_input.h explains the input.
#include "agent/webgui_agent.h"
#include "platform/lcd_panel.h"
#include "platform/settings_database.h"
#include "process_state.h"
#include "tests/fuzz/database_input.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/process_state_control.h"
#include "tests/support/temporary_folder.h"
#include "text.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <unistd.h>

namespace fs = std::filesystem;

using fuzz::require;

namespace {

constexpr int kMode = 2;
constexpr int kColumns = 13;
constexpr int kLanguageColumn = 2;
constexpr char kName[] = "where Name is 'Zolan CMS Web GUI Settings'";

int g_openResult = 0; // of the last opening

test::TemporaryFolder& folder() {
    static test::TemporaryFolder folder;
    return folder;
}

std::string path() {
    return folder().file("webgui.db");
}

bool isInFolder(std::string_view part) {
    const fs::directory_iterator entries(folder().path());
    return std::any_of(begin(entries), end(entries), [part](const fs::directory_entry& entry) {
        return entry.path().filename().string().find(part) != std::string::npos;
    });
}

void emptyFolder() {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder().path())) {
        fs::remove(entry.path());
    }
}

} // namespace

// The agent names a fixed path and waits between its calls; the panel is not part of this.
extern "C" {

int __real_open_database(SettingsDatabase* database, int mode);

int __wrap_open_database(SettingsDatabase* database, int mode) {
    copyBounded(database->path, path());
    g_openResult = __real_open_database(database, mode);
    const bool isOpen = g_openResult >= 0;
    require(g_openResult >= -1 && g_openResult <= 2, "an opening has one of four results");
    require((database->connection != nullptr) == isOpen, "a failed opening owns nothing");
    require(database->ready == (isOpen ? 1 : 0), "an open database is ready");
    require(database->schemaLevel == (isOpen ? 2 : 0), "an open database stores the theme");
    return g_openResult;
}

int __wrap_usleep(useconds_t /*microseconds*/) {
    return 0;
}

int LCDBrightnessSet(int /*level*/) {
    return 0;
}
int LCDBlankTimeOutSet(int /*seconds*/) {
    return 0;
}
int LCDBlank(int /*mode*/) {
    return 0;
}
int xset_env_init(void) {
    return 0;
}

} // extern "C"

namespace {

const std::string& goodDatabase() {
    static const std::string bytes = [] {
        SettingsDatabase database{};
        require(__wrap_open_database(&database, kMode) == 1, "a new database is made");
        close_database(&database);
        std::string text = test::readFile(path());
        emptyFolder();
        return text;
    }();
    return bytes;
}

// A start of the daemon, a change of settings, and its end. True: the change was written.
bool changeSettings() {
    createWebGUIAgent();
    WebGUIAgent& agent = *G_WebGUIAgent;
    agent.setLanguage("Deutsch");
    agent.setTheme("light");
    const bool isWritten = agent.updateData(0) == 1;
    agent.hasAlert();
    if (agent.Transaction(0) == 1) {
        agent.Transaction(2);
    }
    destroyWebGUIAgent();
    return isWritten;
}

struct Table : SettingsTable {
    Table() : SettingsTable{} {}
    ~Table() { free_sql_tbl(this); }
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;
};

void checkRows(const SettingsTable& table, bool isWritten) {
    require(table.rowCount > 0, "the panel's row is there");
    for (unsigned int row = 0; row <= table.rowCount; ++row) {
        for (int column = 0; column < kColumns; ++column) {
            const SettingsColumn& record = table.rows[row][column];
            require(record.type >= 0 && record.type <= 2, "a record has one of three types");
            require(boundedText(record.value).size() < sizeof record.value, "a value has an end");
        }
        const std::string_view language = boundedText(table.rows[row][kLanguageColumn].value);
        require(row == 0 || !isWritten || language == "Deutsch", "what was written stays",
                language);
    }
}

void checkSecondOpening(bool isWritten) {
    SettingsDatabase database{};
    const int result = __wrap_open_database(&database, kMode);
    if (fuzz::sqliteLimitMet()) {
        close_database(&database);
        return;
    }
    require(result == 0, "the second opening finds nothing to do", std::to_string(result));
    Table table;
    const int code = query_database_dat_with_condition(&database, "webgui_tbl", &table, kName);
    require(code == 0 || fuzz::sqliteLimitMet(), "the row can be read");
    if (code == 0) {
        checkRows(table, isWritten);
    }
    close_database(&database);
}

// The library's own lines; what the daemon quotes of SQLite may have line ends.
void checkErrorLines(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        const bool isLibrarys =
            line.starts_with("[open_database]: ") || line.find("_database_") < 40;
        require(!isLibrarys || line.find('\n') == line.size() - 1, "a failure is one line", line);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::limitSqlite();
    const fuzz::Capture output(std::cout);
    fuzz::Capture errors(std::cerr);
    const fuzz::DatabaseInput input =
        fuzz::writeDatabase(fuzz::asText(data, size), path(), goodDatabase());
    const bool isWritten = changeSettings();
    if (!fuzz::sqliteLimitMet()) {
        require(g_openResult >= 0 || input.isMadeBySql, "a file is usable, whatever it holds");
        require(g_openResult != 1 || input.mayBeEmpty || isInFolder(".damaged-"),
                "a damaged file is kept");
    }
    if (g_openResult >= 0 && !fuzz::sqliteLimitMet()) {
        checkSecondOpening(isWritten && !input.isMadeBySql);
    }
    checkErrorLines(errors.taken());
    emptyFolder();
    return 0;
}
