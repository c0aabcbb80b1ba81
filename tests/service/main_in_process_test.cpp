// service/main.cpp, compiled under another name: what only shows inside its process, or if a step
// is replaced.
#include "agent/handler_tables.h"
#include "service/hook_function.h"
#include "service/worker_threads.h"
#include "tests/service/service_fixture.h"

#include <cstdio>
#include <cstdlib>

int serviceMain();

extern "C" {

// The linker replaces loadDefinitionTypeIds by the first; the second is the original.
int __wrap__Z21loadDefinitionTypeIdsP12redisContext(redisContext* context);
int __real__Z21loadDefinitionTypeIdsP12redisContext(redisContext* context);

} // extern "C"

namespace {

bool g_definitionsCountAsLoaded = false;

// Writes the calls to standard error, where a death test looks.
void report() {
    for (const std::string& call : doubles::calls()) {
        std::fprintf(stderr, "%s\n", call.c_str());
    }
}

[[noreturn]] void liveAndReport() {
    std::atexit(report);
    serviceMain();
    std::abort();
}

class MainDeathTest : public service_test::ServiceTest {
protected:
    MainDeathTest() {
        G_ResourceTypeIds = {};
        G_InstanceKeys.clear();
        g_definitionsCountAsLoaded = false;
    }
    ~MainDeathTest() override { g_definitionsCountAsLoaded = false; }
};

// The real loadDefinitionTypeIds would end the process for an unknown schema type.
TEST_F(MainDeathTest, SetsAnEmptyCallbackIdWhenTheSchemaTypeIsUnknown) {
    g_definitionsCountAsLoaded = true;
    EXPECT_EXIT(liveAndReport(), testing::ExitedWithCode(0),
                "ovrAddRunningThread(.|\n)*ovrcbIdSet\\(\"\"\\)(.|\n)*ovrThreadWaitForExit");
}

TEST_F(MainDeathTest, EndsWithoutACallbackIdWhenTheDefinitionsCannotBeLoaded) {
    EXPECT_EXIT(
        {
            std::atexit([] {
                const auto calls = doubles::calls();
                std::fputs(calls.back().c_str(), stderr);
            });
            serviceMain();
        },
        testing::ExitedWithCode(0), "^olGetSchemaTypeIdByField");
}

void checkRegistration() {
    using doubles::host;
    const auto& threads = host().threads;
    const bool bodies = threads.size() == 3 && threads[0].first == OrvaneWebGUI_CreateObject &&
                        threads[1].first == OrvaneWebGUI_ReadObject &&
                        threads[2].first == OrvaneWebGUI_UpdateObject;
    bool names = true;
    for (const auto& thread : threads) {
        names = names && thread.second == "OrvaneWebGUI";
    }
    std::fprintf(stderr, "bodies %d names %d hook %d option %d context %d mode %d\n", bodies, names,
                 host().hook == OrvaneWebGUI_OVRHookFunction, G_Plugin.m_option,
                 host().context == G_Plugin.m_redis, G_ManagingMode);
}

TEST_F(MainDeathTest, RegistersCreateReadAndUpdateThenTheHook) {
    doubles::provision();
    doubles::host().duringWaitForExit = checkRegistration;
    EXPECT_EXIT(serviceMain(), testing::ExitedWithCode(0),
                "bodies 1 names 1 hook 1 option 1 context 1 mode 0");
}

TEST_F(MainDeathTest, FillsTheProcessWideTextsAndKeys) {
    doubles::provision();
    doubles::host().duringWaitForExit = [] {
        std::fprintf(stderr, "%s %s %s %zu %s %d", G_ResourceTypeIds.schemaTypeId.c_str(),
                     G_ResourceTypeIds.instanceCollectionKey.c_str(),
                     G_ResourceTypeIds.guiReadyTypeId.c_str(), G_InstanceKeys.size(),
                     G_InstanceKeys.begin()->c_str(), G_WebGUIAgent != nullptr);
    };
    EXPECT_EXIT(serviceMain(), testing::ExitedWithCode(0),
                "schema-type collection guiready-type 1 80000000-0000-0000-0000-008000000000 1");
}

TEST_F(MainDeathTest, StoresTheManagingModeButTurnsTwoIntoZero) {
    doubles::provision();
    doubles::host().duringWaitForExit = [] { std::fprintf(stderr, "mode %d.", G_ManagingMode); };
    const std::pair<const char*, const char*> cases[] = {
        {"0", "mode 0\\."}, {"1", "mode 1\\."},   {"2", "mode 0\\."},
        {"9", "mode 0\\."}, {"-1", "mode -1\\."}, {"-99999999999999999999", "mode -2147483648\\."}};
    for (const auto& [value, text] : cases) {
        ::setenv("ManagingMode", value, 1);
        EXPECT_EXIT(serviceMain(), testing::ExitedWithCode(0), text) << value;
    }
    ::unsetenv("ManagingMode");
}

} // namespace

int __wrap__Z21loadDefinitionTypeIdsP12redisContext(redisContext* context) {
    return g_definitionsCountAsLoaded ? 0
                                      : __real__Z21loadDefinitionTypeIdsP12redisContext(context);
}
