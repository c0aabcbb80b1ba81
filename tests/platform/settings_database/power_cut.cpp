#include "tests/platform/settings_database/power_cut.h"

#include "tests/platform/settings_database/recording_vfs.h"
#include "text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sqlite3.h>

namespace test {

namespace {

constexpr const char* kSettings[] = {"InitBoot",    "Language", "Brightness",  "BacklightOff",
                                     "Screensaver", "Timer",    "Measurement", "DateFormat",
                                     "TimeFormat",  "HasAlert", "RoomAverage", "HiLoPeriod"};

int number(const char* variable, int otherwise) {
    const char* text = std::getenv(variable);
    return text == nullptr ? otherwise : parseDecimal(text);
}

std::string rowOf(Database& database) {
    Result result;
    if (query_database_dat_with_condition(database.handle(), kTable, &result, kNameCondition) !=
            0 ||
        result.rowCount != 1) {
        return "not one row";
    }
    std::string row;
    for (const std::string& value : result.values(1, 1 + static_cast<int>(std::size(kSettings)))) {
        row += (row.empty() ? "" : "|") + value;
    }
    return row + "\n";
}

bool holdsDamaged(const std::string& folder) {
    const std::filesystem::recursive_directory_iterator entries(folder);
    return std::any_of(begin(entries), end(entries), [](const auto& entry) {
        return entry.path().filename().string().find(".damaged-") != std::string::npos;
    });
}

std::string faultIn(const TemporaryFolder& scratch, const Life& life) {
    Database database(scratch.file(kCutFile));
    if (const int result = database.open(); !life.openings.contains(result)) {
        return "open_database gives " + std::to_string(result);
    }
    sqlite3* connection = database.handle()->connection;
    if (database.handle()->ready != 1 || database.handle()->schemaLevel != 2) {
        return "the handle is not ready";
    }
    for (const auto& [pragma, expected] :
         {std::pair("PRAGMA integrity_check", "ok"), std::pair("PRAGMA journal_mode", "wal"),
          std::pair("PRAGMA synchronous", "3")}) {
        if (const std::string answer = answerOf(connection, pragma); answer != expected) {
            return std::string(pragma) + ": " + answer;
        }
    }
    const std::string row = rowOf(database);
    const bool isNext = life.rows.size() > 1 && row == life.rows[1];
    if (row != life.rows.front() && !isNext) {
        return "instead of " + life.rows.front() + " the row is " + row;
    }
    if (!life.mayFindDamage && holdsDamaged(scratch.path())) {
        return "a file was set aside";
    }
    return life.alsoFaulty ? life.alsoFaulty(database, scratch.path()) : "";
}

using Try = void (*)(const Image&, const Life&, Count&);

void tryImage(const Image& image, const Life& life, Count& count) {
    const TemporaryFolder scratch;
    writeImage(image, scratch.path());
    if (image.contains(kCutFile) && count.tries % 2 == 0) {
        writeFile(scratch.file(kCutFile) + "-shm", std::string(32768, '\x5a')); // garbage
    }
    const std::string fault = faultIn(scratch, life);
    if (!fault.empty() && ++count.faults == 1) {
        count.firstFault = "at cut " + std::to_string(count.cuts) + ": " + fault;
    }
}

// `tryIt` gets each image with the rest of the life after that cut.
void sweepInto(Count& count, const DiskLog& log, const Life& life, int randomCount, Try tryIt) {
    // NOLINTNEXTLINE(cert-msc51-cpp): meant, so that a fault comes again
    std::mt19937 random(static_cast<unsigned int>(number("ORVANE_POWER_CUT_SEED", 1)));
    Disk disk(log.start);
    Life rest = life;
    for (std::size_t done = 0; done <= log.operations.size(); ++done) {
        if (done > 0) {
            const DiskOperation& last = log.operations[done - 1];
            disk.apply(last);
            if (last.kind == DiskOperation::Kind::acknowledge) {
                rest.rows.erase(rest.rows.begin());
            }
        }
        ++count.cuts;
        std::set<Image> seen;
        for (const Survival& survival : waysToSurvive(disk, randomCount, random)) {
            ++count.tries;
            const Image image = disk.afterCut(survival);
            if (seen.insert(image).second) {
                tryIt(image, rest, count);
            }
        }
    }
}

Count counted(const DiskLog& log, const Life& life, int randomCount, Try tryIt) {
    Count count;
    sweepInto(count, log, life, randomCount, tryIt);
    std::printf("%s: %d cuts, %d tries, %d faults\n",
                testing::UnitTest::GetInstance()->current_test_info()->name(), count.cuts,
                count.tries, count.faults);
    return count;
}

constexpr int kRandomCountOfTwoCuts = 2; // each is another sweep

} // namespace

// A row with the same value in every setting, as `rowOf` reads it.
std::string rowOfAll(const std::string& value) {
    std::string row = "Zolan CMS Web GUI Settings";
    for (std::size_t i = 0; i < std::size(kSettings); ++i) {
        row += "|" + value;
    }
    return row + "\n";
}

int updateAll(Database& database, const std::string& value) {
    NamesAndValues columns;
    for (const char* name : kSettings) {
        columns.emplace_back(name, value);
    }
    const Row row(columns);
    return update_database_table_with_condition(database.handle(), kTable, row.get(),
                                                kNameCondition);
}

std::string answerOf(sqlite3* connection, const std::string& sql) {
    std::string answer;
    const auto take = [](void* target, int, char** values, char**) {
        *static_cast<std::string*>(target) = values[0] == nullptr ? "" : values[0];
        return 0;
    };
    if (sqlite3_exec(connection, sql.c_str(), take, &answer, nullptr) != SQLITE_OK) {
        return sqlite3_errmsg(connection);
    }
    return answer;
}

Count sweep(const DiskLog& log, const Life& life) {
    return counted(log, life, number("ORVANE_POWER_CUT_RANDOM", 25), tryImage);
}

Count sweepTwice(const DiskLog& log, const Life& life) {
    const auto cutAgain = [](const Image& image, const Life& rest, Count& count) {
        const TemporaryFolder scratch;
        writeImage(image, scratch.path());
        Recording recording(scratch.path());
        Database(scratch.file(kCutFile)).open();
        sweepInto(count, recording.finish(), rest, kRandomCountOfTwoCuts, tryImage);
    };
    return counted(log, life, kRandomCountOfTwoCuts, cutAgain);
}

} // namespace test
