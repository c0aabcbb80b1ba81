// The binary contract of the device libraries against two stored lists: what each library exports,
// and how the shared records lie in memory. The preloaded double must export all of it too, or the
// daemon would reach the library behind it.
#include "platform/ossel.h"
#include "platform/plugin_host.h"
#include "platform/settings_database.h"
#include "records.h"
#include "tests/support/child_process.h"

#include <cstddef>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

// The words of each line that is neither blank nor a comment.
std::vector<std::vector<std::string>> linesOf(const std::string& path) {
    std::ifstream file(path);
    std::vector<std::vector<std::string>> lines;
    for (std::string line; std::getline(file, line);) {
        std::istringstream text(line);
        std::vector<std::string> words;
        for (std::string word; text >> word;) {
            words.push_back(word);
        }
        if (!words.empty() && !words.front().starts_with('#')) {
            lines.push_back(words);
        }
    }
    return lines;
}

using Symbols = std::set<std::string>;

// The functions that a shared library exports. Instances of the standard library's templates are
// weak symbols and not part of the contract.
Symbols functionsOf(const std::string& path) {
    const test::Finished nm =
        test::run({ORVANE_NM, "-D", "--defined-only", "--format=posix", path});
    EXPECT_EQ(nm.status, 0) << nm.error;
    std::istringstream lines(nm.output);
    Symbols symbols;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string name;
        std::string kind;
        words >> name >> kind;
        // Functions and variables; of names with an underscore those of C++, as the others are the
        // linker's and the compiler's own.
        if (std::string_view("TDBR").find(kind) != std::string_view::npos &&
            (!name.starts_with("_") || name.starts_with("_Z"))) {
            symbols.insert(name);
        }
    }
    return symbols;
}

std::map<std::string, Symbols> storedSymbols() {
    std::map<std::string, Symbols> symbols;
    for (const std::vector<std::string>& words : linesOf(ORVANE_EXPORTED_SYMBOLS)) {
        symbols[words.at(0)].insert(words.at(1));
    }
    return symbols;
}

TEST(BinaryContract, ExportsTheStoredFunctionsAndNoOthers) {
    std::map<std::string, Symbols> exported;
    for (const char* const path : {ORVANE_LIBRARIES}) {
        const std::string text = path;
        exported[text.substr(text.rfind('/') + 1)] = functionsOf(text);
    }
    EXPECT_EQ(exported.size(), 5U);
    EXPECT_EQ(exported, storedSymbols());
}

TEST(BinaryContract, IsExportedAsAWholeByThePreloadedDouble) {
    const Symbols exported = functionsOf(ORVANE_PLATFORM_DOUBLE);
    for (const auto& [library, symbols] : storedSymbols()) {
        for (const std::string& symbol : symbols) {
            EXPECT_TRUE(exported.contains(symbol)) << library << ": " << symbol;
        }
    }
}

using Numbers = std::map<std::string, std::size_t>;

// clang-format off
Numbers layoutHere() {
    return {
        {"FieldValuePair",               sizeof(FieldValuePair)},
        {"FieldValuePair.name",          offsetof(FieldValuePair, name)},
        {"FieldValuePair.value",         offsetof(FieldValuePair, value)},
        {"InstanceSlot",                 sizeof(InstanceSlot)},
        {"OsselEvent",                   sizeof(OsselEvent)},
        {"OsselEvent.reserved0",         offsetof(OsselEvent, reserved0)},
        {"OsselEvent.eventType",         offsetof(OsselEvent, eventType)},
        {"OsselEvent.reserved1",         offsetof(OsselEvent, reserved1)},
        {"OsselEvent.kind",              offsetof(OsselEvent, kind)},
        {"OsselEvent.message",           offsetof(OsselEvent, message)},
        {"OsselEvent.messageId",         offsetof(OsselEvent, messageId)},
        {"OsselEvent.argumentCount",     offsetof(OsselEvent, argumentCount)},
        {"OsselEvent.arguments",         offsetof(OsselEvent, arguments)},
        {"OsselEvent.origin",            offsetof(OsselEvent, origin)},
        {"OsselEvent.reserved2",         offsetof(OsselEvent, reserved2)},
        {"SettingsDatabase",             sizeof(SettingsDatabase)},
        {"SettingsDatabase.connection",  offsetof(SettingsDatabase, connection)},
        {"SettingsDatabase.path",        offsetof(SettingsDatabase, path)},
        {"SettingsDatabase.ready",       offsetof(SettingsDatabase, ready)},
        {"SettingsDatabase.schemaLevel", offsetof(SettingsDatabase, schemaLevel)},
        {"SettingsColumn",               sizeof(SettingsColumn)},
        {"SettingsColumn.type",          offsetof(SettingsColumn, type)},
        {"SettingsColumn.name",          offsetof(SettingsColumn, name)},
        {"SettingsColumn.value",         offsetof(SettingsColumn, value)},
        {"SettingsRow",                  sizeof(SettingsRow)},
        {"SettingsRow.columnCount",      offsetof(SettingsRow, columnCount)},
        {"SettingsRow.columns",          offsetof(SettingsRow, columns)},
        {"SettingsTable",                sizeof(SettingsTable)},
        {"SettingsTable.rowCount",       offsetof(SettingsTable, rowCount)},
        {"SettingsTable.rows",           offsetof(SettingsTable, rows)},
        {"lockType",                     sizeof(lockType)},
        {"lockTake",                     lockTake},
        {"lockPost",                     lockPost},
        {"fnTypes",                      sizeof(fnTypes)},
        {"fnCreate",                     fnCreate},
        {"fnRead",                       fnRead},
        {"fnUpdate",                     fnUpdate},
        {"RequestTriple",                sizeof(RequestTriple)},
        {"ovrComSupport",                sizeof(ovrComSupport)},
        {"ovrBindCAPIToOssel",           sizeof(ovrBindCAPIToOssel)},
    };
}
// clang-format on

TEST(BinaryContract, LaysTheRecordsOutAsStored) {
    constexpr std::size_t kColumn = sizeof(void*) == 4 ? 1 : 2;
    Numbers stored;
    for (const std::vector<std::string>& words : linesOf(ORVANE_RECORD_LAYOUTS)) {
        stored[words.at(0)] = std::stoul(words.at(kColumn));
    }
    EXPECT_EQ(layoutHere(), stored);
}

} // namespace
