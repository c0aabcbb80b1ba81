// Start-up and shutdown. Every call fails in every way: once, from then on, and together with its
// neighbour. Each life runs in a child process.
#include "process_state.h"
#include "service/plugin_objects.h"
#include "store/resource_tree.h"
#include "tests/doubles/platform_test.h"
#include "tests/fault_sweep/child.h"
#include "tests/fault_sweep/expected_life.h"
#include "tests/fault_sweep/sweep.h"

#include <cstdlib>
#include <memory>
#include <sys/wait.h>

int serviceMain();

namespace fault_sweep {

namespace {

constexpr char kDefinition[] = "80000000-0000-0000-0000-008000000000";
constexpr char kCollection[] = "collection";

// Serves a read and an update without faults while the daemon waits for requests, and notes the
// answers.
void serveRequests() {
    leaveOut();
    doubles::pauseFailures(true);
    doubles::recordAllocations(false);
    doubles::hashes()["Request:1"] = {{"InitialBoot", "true"}, {"OriginalObjID", kDefinition}};
    doubles::callHook("00001", kDefinition, "Reply:1");
    doubles::callHook("00004", "Request:1", "Reply:2");
    doubles::runWorkers();
    for (const std::string& call : doubles::calls()) {
        if (call.starts_with("osselCreateReturnMessage(")) {
            note(textsOf(call).at(1) + ' ');
        }
    }
    doubles::recordAllocations(true);
    doubles::pauseFailures(false);
    goOn();
}

void prepare(const Life& life) {
    ::unsetenv("ManagingMode");
    std::destroy_at(&G_Plugin);
    doubles::reset();
    doubles::ignore("tql_update_ssqlcol_struct");
    doubles::provision();
    if (life.collectionIsSet) {
        doubles::sets()[kCollection] = {"another"};
    }
    doubles::setSetting("HasAlert", life.hasAlert ? "YES" : "NO");
    if (life.hasThemeRow) {
        doubles::database().statements = {"INSERT INTO Misc VALUES ('Theme', 'light')"};
    }
    doubles::files().managingMode = life.managingMode;
    doubles::host().duringWaitForExit = serveRequests;
    doubles::database().recordStatements = true;
}

void constructPlugin() {
    std::construct_at(&G_Plugin, kRedisDatabase, kPluginId, &G_Binding);
}

// Creates a tree as start-up leaves it.
void buildTree() {
    G_ResourceTypeIds = {"schema-type",     "webgui-type",   "actions-type", "oem-type",
                         "turnofflcd-type", "guiready-type", kCollection};
    if (OrvaneWebGUI_Init(G_Plugin.m_redis) == 0) {
        std::abort();
    }
}

void removeTree(const Life& life) {
    if (life.course == Course::deletion) {
        OrvaneWebGUI_Delete(G_Plugin.m_redis, kDefinition, kCollection);
    } else {
        OrvaneWebGUI_Clean(G_Plugin.m_redis);
    }
}

// In the child.
void live(const Life& life, const Plan& plan) {
    prepare(life);
    beginRun();
    if (life.course == Course::wholeLife) {
        doubles::recordAllocations(true);
        arm(plan);
        constructPlugin();
        serviceMain();
        return;
    }
    constructPlugin();
    buildTree();
    if (life.course == Course::cleanEmptyStore) {
        doubles::lists().clear();
    } else if (life.collectionIsSet) {
        doubles::sets()[kCollection] = {kDefinition};
    }
    goOn();
    arm(plan);
    removeTree(life);
    std::exit(0);
}

RecordedRun runLife(const Life& life, const Plan& plan) {
    const ChildEnd end = runInChild([&] { live(life, plan); });
    EXPECT_TRUE(end.reported) << "the child has not come to its end";
    EXPECT_TRUE(WIFEXITED(end.status)) << "ended by signal " << WTERMSIG(end.status);
    EXPECT_EQ(WEXITSTATUS(end.status), 0);
    EXPECT_EQ(end.openConnections, 0);
    EXPECT_EQ(end.blocks, 0) << "memory was not given back";
    std::string answers;
    try {
        answers = followLife(life, end.run, &G_Binding);
    } catch (const Replay::Difference& difference) {
        ADD_FAILURE() << difference.what();
    }
    EXPECT_EQ(end.note, answers);
    return end.run;
}

class LifeTest : public doubles::PlatformTest {};

class LifeSweep : public LifeTest, public testing::WithParamInterface<Life> {};

TEST_P(LifeSweep, EndsWithStatusZeroAndIsLoggedWhateverFails) {
    const Life& life = GetParam();
    const Counts counts = sweep(Where::life, [&](const Plan& plan) { return runLife(life, plan); });
    EXPECT_GE(counts.lasting, 2);
    EXPECT_GT(counts.pairs, 0);
}

Life named(const char* name, Course course = Course::wholeLife) {
    return {.name = name, .course = course};
}

Life with(Life life, void (*change)(Life&)) {
    change(life);
    return life;
}

const auto& lives() {
    static const auto* const all = new std::vector<Life>{
        named("FirstLife"),
        with(named("LifeOnASet"),
             [](Life& life) {
                 life.collectionIsSet = true;
                 life.hasThemeRow = true;
             }),
        with(named("LifeWithAnAlert"),
             [](Life& life) {
                 life.hasAlert = true;
                 life.hasThemeRow = true;
                 life.managingMode = "Varrow";
             }),
        with(named("CleanByStore", Course::cleanByStore),
             [](Life& life) { life.hasThemeRow = true; }),
        named("CleanOfAnEmptyStore", Course::cleanEmptyStore),
        named("DeleteFromAList", Course::deletion),
        with(named("DeleteFromASet", Course::deletion),
             [](Life& life) { life.collectionIsSet = true; }),
    };
    return *all;
}

TEST_F(LifeTest, MeetEachRowOfTheTablesThatConcernsThem) {
    for (const Life& life : lives()) {
        sweep(
            Where::life, [&](const Plan& plan) { return runLife(life, plan); },
            Extent::singleFaults);
    }
    EXPECT_THAT(rowsNeverAskedFor(Where::life), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Lives, LifeSweep, testing::ValuesIn(lives()),
                         [](const auto& instance) { return instance.param.name; });

} // namespace

} // namespace fault_sweep
