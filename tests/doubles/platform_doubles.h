// The recording double of the device libraries as a test sees it: which calls were made, which are
// to fail, what the store holds. The settings database, the plugin host and the devices have
// headers of their own, included here.
//
// All data are process-wide; reset() clears them. The doubles lock while they work; a test with
// threads reads and changes data only while none of them is inside a double.
#pragma once

#include "platform/ossel.h"
#include "tests/doubles/device_double.h"
#include "tests/doubles/fault.h"
#include "tests/doubles/libc_double.h"
#include "tests/doubles/plugin_host_double.h"
#include "tests/doubles/settings_database_double.h"

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace doubles {

// Forgets all calls, failures, answers and data.
void reset();

// --- Calls ----------------------------------------------------------------------------

// The calls since the last time, in order, one text each: texts in quotes, numbers in decimal,
// field records as [name=value, ...], instance sets as {"a", "b"}, connections by name, null
// pointers as null.
std::vector<std::string> calls();

// Only the calls of one function; clears all of them.
std::vector<std::string> callsOf(const std::string& function);

// As calls(), with the outcome of each.
std::vector<RecordedCall> recordedCalls();

// Stops recording a function.
void ignore(const std::string& function);

// --- Failures -------------------------------------------------------------------------
// A failing call has no effect. It returns `code`, null if it returns a pointer, or 0 if it returns
// a boolean.

void fail(const std::string& function, int code = 1);             // the next call
void failNth(const std::string& function, int nth, int code = 1); // the nth from now: 1, 2, ...
void failAlways(const std::string& function, int code = 1);       // every call from now
void failAnyNth(int nth, int code = 1);                           // the nth that can fail
void failCall(int nth, Fault fault);                              // the same in any way
void failCallAndLater(int nth, Fault fault); // and every later call of that function
bool failuresMet(); // whether every failure requested by number has happened

// While paused, nothing fails and calls do not count.
void pauseFailures(bool paused);

// --- The object store -----------------------------------------------------------------
// A small store that the calls read and change according to the contract.

using Fields = std::vector<std::pair<std::string, std::string>>;
std::map<std::string, Fields>& hashes(); // in stored order
std::map<std::string, std::vector<std::string>>& lists();
std::map<std::string, std::vector<std::string>>& sets(); // listed in this order
std::map<std::string, int>& freshness();                 // key to ttl
std::set<std::string>& etags();                          // keys with a cached ETag

// One field; empty if there is none.
std::string field(const std::string& key, const std::string& name);

// The nth result of osselGenerateUUID since reset: 36 characters, "uuid0001-0000-...".
std::string uuid(int number);

// A connection of the test's own, recorded as "ctx". osselRedisConnect returns "ctx1", "ctx2", ...
// in memory of the C allocator; openConnections() counts those not closed.
redisContext* context();
int openConnections();

// Makes the next osselHashGetAll return exactly this, whatever the store holds. `records` comes
// from the C allocator, or is null.
void answerHashGetAll(FieldValuePair* records, unsigned int count);

// Adds an entry to the schema registry.
void schema(const std::string& field, const std::string& text, const std::string& id);

// Adds the schema definitions of the WebGUI resource as provisioning does, with the ids
// "schema-type", "webgui-type", "actions-type", "oem-type", "turnofflcd-type" and "guiready-type"
// and the instance collection "collection".
void provision();

// A copy of an event with its argument texts.
struct RecordedEvent {
    std::string source;
    int kind;
    OsselEvent record; // its `arguments` is null
    std::vector<std::string> arguments;
};
std::vector<RecordedEvent>& events();

} // namespace doubles
