// Three arbitrary texts to the hook, then the worker's handling of what was posted, on the
// platform doubles. hook_invariants.h has what must hold for each request.
//
// An input is a script, one command a line, arguments separated by '|', bytes escaped as in
// fuzz.h; anything else is ignored:
//   request MSGID|REQARG|CHANNEL   to the hook, then the workers run; at most 8 of them
//   start                          makes the agent anew; the first request does, where none has
//   no-agent                       no request makes it
//   no-connection                  the plugin object has none
//   key TEXT                       one more known instance
//   hash KEY|FIELD|VALUE           one more field in the store
//   record FIELD|VALUE             one record of the next answer of osselHashGetAll, without a NUL
//                                  where the text fills its field
//   row COLUMN|VALUE, rows N       the settings row; 0 to 3 of them
//   theme TEXT                     one more theme in the database
//   no-tables, no-database         what open_database connects to
//   open-result N, ready N, schema-level N
//   mode N, scale N                managing mode; the cooling unit's scale
//   fail N|CODE                    the nth call from now that can fail does
//   fail-call FUNCTION|N|CODE      the nth call of one function; N 0: all of them
//   fail-allocation N              the nth malloc or calloc of the next request
//   no-marker                      unlink fails
//
// Left out by design: a theme count that is no number ends the process. Only an altered table or
// a function in place of count() gives one, so that no command runs SQL of the input.
#include "agent/handler_tables.h"
#include "agent/webgui_agent.h"
#include "process_state.h"
#include "service/hook_function.h"
#include "service/plugin_objects.h"
#include "service/worker_threads.h"
#include "tests/doubles/platform_doubles.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/hook_invariants.h"
#include "text.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <utility>

namespace {

using fuzz::require;

constexpr std::size_t kMaxRequests = 8;
constexpr std::size_t kMaxLines = 96;
constexpr doubles::WorkerBody kBodies[] = {OrvaneWebGUI_CreateObject, OrvaneWebGUI_ReadObject,
                                           OrvaneWebGUI_UpdateObject};

int number(const std::string& text) {
    return parseDecimal(text.c_str());
}

// A failing result; 0 would be success.
int failure(const std::string& text) {
    const int code = number(text);
    return code == 0 ? 1 : code;
}

using Arguments = std::vector<std::string>; // always three

// One input's state: what it has prepared and how far it is.
class Scenario {
public:
    Scenario() {
        doubles::reset();
        doubles::ignore("tql_update_ssqlcol_struct");
        static redisContext* const own = G_Plugin.m_redis; // kept to the end of the process
        require(own != nullptr, "the plugin object is connected");
        G_Plugin.m_redis = doubles::context();
        G_ResourceTypeIds = {"schema-type",     "webgui-type",   "actions-type", "oem-type",
                             "turnofflcd-type", "guiready-type", "collection"};
        G_InstanceKeys = {"80000000-0000-0000-0000-008000000000"};
        G_ManagingMode = 0;
    }
    ~Scenario() {
        destroyWebGUIAgent();
        require(!doubles::databaseIsOpen(), "the agent closes its database");
        require((std::cout.flags() & std::ios::basefield) == std::ios::hex, "lines stay in hex");
        doubles::reset();
    }
    Scenario(const Scenario&) = delete;
    Scenario& operator=(const Scenario&) = delete;

    void start() {
        destroyWebGUIAgent();
        createWebGUIAgent();
        fuzz::checkLogLines(output_.taken());
        fuzz::checkErrorLines(errors_.taken());
        started_ = true;
    }
    void stayWithoutAgent() {
        destroyWebGUIAgent();
        started_ = true;
    }
    void failAllocation(int nth) { failingAllocation_ = std::max(nth, 1); }

    void addRecord(const std::string& field, const std::string& value) {
        FieldValuePair& added = records_.emplace_back();
        field.copy(added.name, sizeof added.name);
        value.copy(added.value, sizeof added.value);
    }

    void request(const Arguments& texts) {
        if (++requests_ > kMaxRequests) {
            return;
        }
        if (!started_) {
            start();
        }
        offerRecords();
        // The hook's texts end at their first NUL.
        const RequestTriple request(texts[0].c_str(), texts[1].c_str(), texts[2].c_str());
        auto [msgId, reqArg, replyChannel] = request;
        doubles::calls();
        const fuzz::RequestWatch watch;
        doubles::failAllocation(std::exchange(failingAllocation_, 0));
        OrvaneWebGUI_OVRHookFunction(msgId.data(), reqArg.data(), replyChannel.data());
        const int kind = fuzz::checkRouting(request);
        const bool served = kind < 0 || work(static_cast<std::size_t>(kind));
        doubles::failAllocation(0);
        watch.checkOutcome(request, kind, served, output_.taken());
        fuzz::checkErrorLines(errors_.taken());
    }

private:
    // False: the worker could not connect, so that the request stays behind.
    static bool work(std::size_t kind) {
        const bool served = doubles::runWorker(kBodies[kind]).endedByHost;
        auto& queue = doubles::host().queues.at(kind);
        require(queue.size() == (served ? 0U : 1U), "a request is taken once");
        queue.clear();
        return served;
    }

    // Handed out once; what nobody asked for is the double's to free.
    void offerRecords() {
        const std::size_t size = records_.size() * sizeof(FieldValuePair);
        if (size != 0 && !std::exchange(offered_, true)) {
            auto* const copy = static_cast<FieldValuePair*>(std::malloc(size));
            require(copy != nullptr, "there is memory");
            std::copy(records_.begin(), records_.end(), copy);
            doubles::answerHashGetAll(copy, static_cast<unsigned int>(records_.size()));
        }
    }

    fuzz::Capture output_{std::cout};
    fuzz::Capture errors_{std::cerr};
    bool started_ = false;
    std::size_t requests_ = 0;
    int failingAllocation_ = 0;
    std::vector<FieldValuePair> records_;
    bool offered_ = false;
};

void setRow(const std::string& column, const std::string& value) {
    const auto& names = doubles::settingsColumnNames();
    if (!doubles::database().rows.empty() && std::ranges::find(names, column) != names.end()) {
        doubles::setSetting(column, value);
    }
}

void addTheme(const std::string& text) {
    std::string statement = "INSERT INTO Misc VALUES ('Theme', '";
    for (const char letter : text) {
        statement.append(letter == '\'' ? 2 : 1, letter);
    }
    statement += "')";
    if (doubles::databaseIsOpen()) {
        doubles::runSql(statement);
    } else {
        doubles::database().statements.push_back(statement);
    }
}

struct Command {
    std::string_view name;
    void (*run)(Scenario& scenario, const Arguments& texts);
};
constexpr Command kCommands[] = {
    {"request", [](Scenario& scenario, const Arguments& texts) { scenario.request(texts); }},
    {"start", [](Scenario& scenario, const Arguments&) { scenario.start(); }},
    {"no-agent", [](Scenario& scenario, const Arguments&) { scenario.stayWithoutAgent(); }},
    {"no-connection", [](Scenario&, const Arguments&) { G_Plugin.m_redis = nullptr; }},
    {"key", [](Scenario&, const Arguments& texts) { G_InstanceKeys.insert(texts[0]); }},
    {"hash",
     [](Scenario&, const Arguments& texts) {
         doubles::hashes()[texts[0]].emplace_back(texts[1], texts[2]);
     }},
    {"record",
     [](Scenario& scenario, const Arguments& texts) { scenario.addRecord(texts[0], texts[1]); }},
    {"row", [](Scenario&, const Arguments& texts) { setRow(texts[0], texts[1]); }},
    {"rows",
     [](Scenario&, const Arguments& texts) {
         doubles::database().rows.resize(
             static_cast<std::size_t>(std::clamp(number(texts[0]), 0, 3)),
             doubles::defaultSettings());
     }},
    {"theme", [](Scenario&, const Arguments& texts) { addTheme(texts[0]); }},
    {"no-tables",
     [](Scenario&, const Arguments&) {
         doubles::database().connection = doubles::Connection::noTables;
     }},
    {"no-database",
     [](Scenario&, const Arguments&) {
         doubles::database().connection = doubles::Connection::null;
     }},
    {"open-result",
     [](Scenario&, const Arguments& texts) { doubles::database().openResult = number(texts[0]); }},
    {"ready",
     [](Scenario&, const Arguments& texts) { doubles::database().ready = number(texts[0]); }},
    {"schema-level",
     [](Scenario&, const Arguments& texts) { doubles::database().schemaLevel = number(texts[0]); }},
    {"mode", [](Scenario&, const Arguments& texts) { G_ManagingMode = number(texts[0]); }},
    {"scale",
     [](Scenario&, const Arguments& texts) { doubles::coolingUnit().scale = number(texts[0]); }},
    {"fail",
     [](Scenario&, const Arguments& texts) {
         doubles::failAnyNth(std::max(number(texts[0]), 1), failure(texts[1]));
     }},
    {"fail-call",
     [](Scenario&, const Arguments& texts) {
         doubles::failNth(texts[0], std::max(number(texts[1]), 0), failure(texts[2]));
     }},
    {"fail-allocation",
     [](Scenario& scenario, const Arguments& texts) { scenario.failAllocation(number(texts[0])); }},
    {"no-marker", [](Scenario&, const Arguments&) { doubles::files().unlinkResult = -1; }},
};

void runLine(Scenario& scenario, std::string_view line) {
    const std::size_t blank = line.find(' ');
    Arguments texts;
    for (const std::string_view piece :
         fuzz::split(blank == std::string_view::npos ? "" : line.substr(blank + 1), '|')) {
        texts.push_back(fuzz::unescaped(piece));
    }
    texts.resize(3);
    for (const Command& command : kCommands) {
        if (line.substr(0, blank) == command.name) {
            command.run(scenario, texts);
        }
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Scenario scenario;
    const std::vector<std::string_view> lines = fuzz::split(fuzz::asText(data, size), '\n');
    for (std::size_t i = 0; i < std::min(lines.size(), kMaxLines); ++i) {
        runLine(scenario, lines[i]);
    }
    return 0;
}
