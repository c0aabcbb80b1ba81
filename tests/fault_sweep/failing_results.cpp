// The two tables: failing results, and how each failure is logged.
#include "tests/fault_sweep/failing_results.h"

#include <array>
#include <cerrno>
#include <set>
#include <sqlite3.h>

namespace fault_sweep {

namespace {

using doubles::Fault;
using doubles::Shape;

constexpr Fault kPlus{Shape::refused, 26}; // 1a in hexadecimal
constexpr Fault kMinus{Shape::refused, -1};
constexpr Fault kNull{Shape::refused, 1};
constexpr Fault kFalse{Shape::refused, 1};
constexpr Fault kEmptyText{Shape::emptyText, 0};
constexpr Fault kEmptyArray{Shape::emptyArray, 0};
constexpr Fault kNullArray{Shape::nullArray, 0};
constexpr Fault kTwoRows{Shape::twoRows, 0};
constexpr Fault kNotReady{Shape::notReady, 0};
constexpr Fault kUnusual{Shape::refused, 3};
constexpr Fault kLevelOne{Shape::levelOne, -1};
constexpr Fault kLevelTwo{Shape::levelTwo, 3};
constexpr Fault kUnreadable{Shape::unreadable, 0};
constexpr Fault kSqlBusy{Shape::refused, SQLITE_BUSY};
constexpr Fault kSqlNoMemory{Shape::noMessage, SQLITE_NOMEM};
constexpr Fault kSqlReadError{Shape::afterRows, SQLITE_IOERR};
constexpr Fault kOneSecondLeft{Shape::refused, 1};

constexpr Fault error(int number) {
    return {Shape::refused, number};
}

struct Contract {
    const char* call; // the call begins so
    Where where;      // and is made there
    std::array<Fault, 6> ways;
};

// The first matching row applies. A function without a row cannot fail: its result is void,
// or success by contract (close_database), or its failure just ends the worker (a take).
// clang-format off
constexpr Where kAnywhere = Where::anywhere;
constexpr Where kRequest = Where::request;
constexpr Where kLife = Where::life;
constexpr Contract kContracts[] = {
    // object store
    {"osselRedisConnect(",                    kAnywhere, {kNull}},
    {"osselGenerateUUID(",                    kAnywhere, {kPlus, kMinus}},
    {"osselCreateReturnMessage(",             kRequest,  {kPlus, kMinus}},
    {"osselPublishToChannel(",                kRequest,  {kPlus, kMinus}},
    {"osselCreateHashTable(",                 kAnywhere, {kPlus, kMinus}},
    {"osselDeleteHash(",                      kAnywhere, {kPlus, kMinus}},
    {"osselGetHashField(",                    kAnywhere, {kPlus, kMinus, kEmptyText}},
    {"osselHashGetAll(",                      kRequest,  {kNull, kEmptyArray, kNullArray}},
    {"osselIsFieldMatched(",                  kRequest,  {kFalse}},
    {"osselHashAppendTTLObject(",             kAnywhere, {kPlus, kMinus}},
    {"osselClearETagCache(",                  kRequest,  {kPlus, kMinus}},
    {"osselListRightPush(",                   kAnywhere, {kPlus, kMinus}},
    {"osselLREM(",                            kLife,     {kPlus, kMinus}},
    {"osselSADD(",                            kAnywhere, {kPlus, kMinus}},
    {"osselRemoveInstanceFromSet(",           kLife,     {kPlus, kMinus}},
    {"osselSMembers(",                        kLife,     {kPlus, kMinus, kEmptyArray, kNullArray}},
    {"osselCreateSetTable(",                  kLife,     {kPlus, kMinus}},
    {"osselRenewCollection(",                 kLife,     {kPlus, kMinus}},
    {"osselCreateEventObject(",               kRequest,  {kPlus, kMinus}},
    {"olGetSchemaTypeIdByField(",             kLife,     {kNull, kEmptyText}},
    {"olObjGetProperty(",                     kLife,     {kNull, kEmptyText}},
    // settings database; its own statements go to SQLite directly
    {"open_database(",                        kLife,     {kMinus, kUnusual, kLevelOne, kLevelTwo, kNotReady}},
    {"query_database_dat_with_condition(",    kAnywhere, {kPlus, kMinus, kEmptyArray, kNullArray, kTwoRows}},
    {"update_database_table_with_condition(", kRequest,  {kPlus, kMinus}},
    {"sqlite3_exec(",                         kAnywhere, {kSqlBusy, kSqlNoMemory, kSqlReadError}},
    // panel and cooling unit
    {"LCDBrightnessSet(",                     kAnywhere, {kPlus, kMinus}},
    {"LCDBlankTimeOutSet(",                   kAnywhere, {kPlus, kMinus}},
    {"LCDBlank(",                             kRequest,  {kPlus, kMinus}},
    {"xset_env_init(",                        kLife,     {kPlus, kMinus}},
    {"CoolSetTempScale(",                     kRequest,  {kPlus, kMinus}},
    {"CoolGetTempScale(",                     kRequest,  {kPlus, kMinus}},
    // C library
    {"open(\"/var/database/",                 kLife,     {error(ENOENT), error(EACCES), error(EMFILE), kEmptyText, kUnreadable}},
    {"open(\"/tmp/run/",                      kLife,     {error(ENOENT), error(EACCES), error(ENOSPC), error(EROFS), error(ELOOP)}},
    {"unlink(",                               kRequest,  {error(ENOENT), error(EACCES), error(EBUSY), error(EROFS)}},
    {"usleep(",                               kAnywhere, {error(EINTR), error(EINVAL)}},
    {"sleep(",                                kLife,     {kOneSecondLeft}},
    {"calloc(",                               kAnywhere, {error(ENOMEM)}},
};

struct Row {
    const char* call;     // how the call begins
    const char* fragment; // what it contains
    Shape shape;          // how it fails; none: in any way
    Where where;
    const char* words;    // in the log; null: none
    const char* reason;
};

// The first matching row applies; without a row the log must name the failed function.
constexpr Row kTellings[] = {
    {"osselRedisConnect(", "", Shape::none, kLife, "Failed to get the schema typeId.",
     "the plugin object says nothing; the first look-up without a connection does"},
    {"osselGetHashField(", "\"schema-type\", ", Shape::none, kLife, nullptr,
     "start-up ends without a word when a definition is missing"},
    {"osselGetHashField(", "\"definitions\", ", Shape::none, kLife, nullptr, "as above"},
    {"osselGetHashField(", "\"webgui-type\", ", Shape::none, kLife, nullptr, "as above"},
    {"osselGetHashField(", "\"actions-type\", ", Shape::none, kLife, nullptr, "as above"},
    {"osselGetHashField(", "", Shape::emptyText, kLife, "The instance UUID is empty.",
     "the field is there, and names no instance"},
    {"osselGetHashField(", "", Shape::emptyText, kRequest, "Unsupported action: .",
     "the field is there, and names no action"},
    {"osselCreateHashTable(", "[MeasurementSystem=", Shape::none, kRequest,
     "[read]: Failed to call fnAgentRead().", "the handler of a read passes the code on"},
    {"osselCreateEventObject(", "", Shape::none, kRequest, "Send Redfish SSE event failed.",
     "has words of its own"},
    {"osselIsFieldMatched(", "", Shape::none, kRequest, nullptr,
     "cannot be told from a field that differs"},
    {"osselListRightPush(", "", Shape::none, kAnywhere, nullptr,
     "the set is the normal second try"},
    {"osselLREM(", "", Shape::none, kLife, nullptr, "the set is the normal second try"},
    {"osselSMembers(", "", Shape::emptyArray, kLife, nullptr, "an empty collection is no failure"},
    {"osselSMembers(", "", Shape::nullArray, kLife, nullptr, "an empty collection is no failure"},
    {"olGetSchemaTypeIdByField(", "", Shape::emptyText, kLife,
     "Failed to get the instance collection key.", "an empty id is an id, which has no properties"},
    {"olGetSchemaTypeIdByField(", "", Shape::none, kLife, "Failed to get the schema typeId.",
     "has words of its own"},
    {"olObjGetProperty(", "", Shape::emptyText, kLife, nullptr,
     "an empty key is a key: the instance is member of no collection"},
    {"olObjGetProperty(", "", Shape::none, kLife, "Failed to get the instance collection key.",
     "has words of its own"},
    {"open_database(", "", Shape::notReady, kLife, "[getTheme]: Database is not ready",
     "the handle says it, at its first use"},
    {"query_database_dat_with_condition(", "", Shape::refused, kAnywhere, nullptr,
     "is repeated, and works the second time"},
    {"query_database_dat_with_condition(", "", Shape::none, kAnywhere,
     "[reloadData]: Incorrect row number: ", "the call has worked, its rows are wrong"},
    {"update_database_table_with_condition(", "", Shape::none, kRequest, nullptr,
     "is repeated, and works the second time"},
    {"sqlite3_exec(", "", Shape::none, kAnywhere,
     "[Run_SQL]: Stopped due to failed to execute ", "the statement is told"},
    {"LCD", "", Shape::none, kAnywhere, nullptr, "the panel's results are not looked at"},
    {"xset_env_init(", "", Shape::none, kLife, nullptr, "the panel's results are not looked at"},
    {"CoolSetTempScale(", "", Shape::none, kRequest, nullptr, "the unit's results are not looked at"},
    {"CoolGetTempScale(", "", Shape::none, kRequest, nullptr, "a unit that does not answer is metric"},
    {"open(", "CoolingUnitManagingMode", Shape::none, kLife, nullptr, "no file is a mode of its own"},
    {"open(", "Stidre.run", Shape::none, kLife, nullptr, "start-up goes on without the marker"},
    {"unlink(", "", Shape::none, kRequest, nullptr, "no marker is no failure"},
    {"usleep(", "", Shape::none, kAnywhere, nullptr, "a short pause is a pause"},
    {"calloc(", ", 2048)", Shape::none, kRequest, "[getInputData]: Failed to call malloc() for *data.",
     "logged under another name"},
    {"calloc(", "", Shape::none, kRequest, nullptr, "the answer goes out without its arguments"},
    {"calloc(", "(1, 1024)", Shape::none, kLife, nullptr,
     "start-up rolls back without a word; the clean-up has no set to renew with"},
    {"calloc(", ", 2048)", Shape::none, kLife, nullptr, "start-up rolls back without a word"},
};
// clang-format on

// The rows that were used, by address. Never destroyed: a child reports after its exit handlers.
std::set<const void*>& asked() {
    static auto* const rows = new std::set<const void*>;
    return *rows;
}

bool concerns(Where row, Where where) {
    return row == Where::anywhere || row == where;
}

bool fits(const Row& row, const doubles::RecordedCall& call, Where where) {
    return call.text.starts_with(row.call) && call.text.find(row.fragment) != std::string::npos &&
           (row.shape == Shape::none || row.shape == call.fault.shape) &&
           concerns(row.where, where);
}

} // namespace

std::vector<Fault> failingResults(const std::string& call) {
    std::vector<Fault> ways;
    for (const Contract& contract : kContracts) {
        if (call.starts_with(contract.call)) {
            asked().insert(&contract);
            for (const Fault& way : contract.ways) {
                if (way) {
                    ways.push_back(way);
                }
            }
            return ways;
        }
    }
    return ways;
}

Telling tellingOf(const doubles::RecordedCall& call, Where where) {
    for (const Row& row : kTellings) {
        if (fits(row, call, where)) {
            asked().insert(&row);
            return {row.words == nullptr ? "" : row.words, row.reason};
        }
    }
    return {"Failed to call " + call.function + '(', ""};
}

std::vector<std::string> rowsNeverAskedFor(Where where) {
    std::vector<std::string> rows;
    for (const Contract& contract : kContracts) {
        if (concerns(contract.where, where) && !asked().contains(&contract)) {
            rows.push_back(std::string("failing results of ") + contract.call);
        }
    }
    for (const Row& row : kTellings) {
        if (concerns(row.where, where) && !asked().contains(&row)) {
            rows.push_back(std::string("telling of ") + row.call + " with " + row.fragment);
        }
    }
    return rows;
}

} // namespace fault_sweep
