// The recording double of the device libraries, as a test sees it: what was called,
// what shall fail, what the store holds. The settings database, the plugin host and the
// devices have headers of their own, included here.
//
// All data belong to the process and are emptied by reset(). The doubles lock while they
// work; a test that runs threads reads and changes data only while none of them is inside.
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

// Forgets every call, failure, answer and datum; what is set before is gone.
void reset();

// --- What was called ------------------------------------------------------------------

// The calls since the last time, in order, each as one text: texts in quotes, numbers in
// decimal, field records as [name=value, ...], instance sets as {"a", "b"}, a connection
// by its name, null pointers as null.
std::vector<std::string> calls();

// As above, and only those of one function; all of them are cleared.
std::vector<std::string> callsOf(const std::string& function);

// As calls(), with what became of each.
std::vector<RecordedCall> recordedCalls();

// Leaves a function out of the record from now on.
void ignore(const std::string& function);

// --- What shall fail ------------------------------------------------------------------
// A call that fails has no effect. It gives `code`, or null where its result is a pointer;
// a boolean answer is 0.

void fail(const std::string& function, int code = 1);             // the next call
void failNth(const std::string& function, int nth, int code = 1); // the nth from now: 1, 2, ...
void failAlways(const std::string& function, int code = 1);       // every call from now
void failAnyNth(int nth, int code = 1);                           // the nth that can fail
void failCall(int nth, Fault fault);                              // the same in any way
void failCallAndLater(int nth, Fault fault); // and every later call of that function
bool failuresMet();                          // every failure asked for by number has happened

// While paused nothing fails, and the calls do not count.
void pauseFailures(bool paused);

// --- The object store -----------------------------------------------------------------
// A small store that the calls read and change as the contract says.

using Fields = std::vector<std::pair<std::string, std::string>>;
std::map<std::string, Fields>& hashes(); // in stored order
std::map<std::string, std::vector<std::string>>& lists();
std::map<std::string, std::vector<std::string>>& sets(); // answered in this order
std::map<std::string, int>& freshness();                 // key to ttl
std::set<std::string>& etags();                          // keys with a cached ETag

// One field; empty where there is none.
std::string field(const std::string& key, const std::string& name);

// The nth answer of osselGenerateUUID since reset: 36 characters, "uuid0001-0000-...".
std::string uuid(int number);

// A connection of the test's own, "ctx" in the record. osselRedisConnect gives "ctx1",
// "ctx2", ... in memory of the C allocator; connections that were not closed:
redisContext* context();
int openConnections();

// The next osselHashGetAll answers exactly this, whatever the store holds. `records` comes
// from the C allocator, or is null.
void answerHashGetAll(FieldValuePair* records, unsigned int count);

// The schema registry's entry for one text.
void schema(const std::string& field, const std::string& text, const std::string& id);

// The schema definitions of the WebGUI resource, as provisioning writes them: the ids are
// "schema-type", "webgui-type", "actions-type", "oem-type", "turnofflcd-type" and
// "guiready-type", the instance collection is "collection".
void provision();

// Copies of the events, with their argument texts.
struct RecordedEvent {
    std::string source;
    int kind;
    OsselEvent record; // its `arguments` is null
    std::vector<std::string> arguments;
};
std::vector<RecordedEvent>& events();

} // namespace doubles
