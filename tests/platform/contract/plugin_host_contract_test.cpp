// The plugin host: the hook, the queues and the workers' end.
#include "platform/plugin_host.h"
#include "tests/platform/contract/side.h"

#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <vector>

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What the bodies and the hook, which are plain functions, share with the test.
struct Scene {
    ovrBindCAPIToOssel* binding = nullptr;
    std::atomic<bool> isWaiting = false;
    std::atomic<int> outsideTheWait = 0;
    std::atomic<int> takesLeft = 0; // then the worker stops taking
    std::atomic<int> destroyed = 0; // locals of workers
    std::mutex mutex;
    std::vector<std::string> names; // that the bodies were given
    std::vector<RequestTriple> taken;
};
Scene* g_scene = nullptr;

void noteWhetherWaiting() {
    g_scene->outsideTheWait += g_scene->isWaiting ? 0 : 1;
}

struct Local {
    ~Local() { ++g_scene->destroyed; }
};

void note(const RequestTriple& request) {
    const std::lock_guard lock(g_scene->mutex);
    g_scene->taken.push_back(request);
}

void* takeAndReturn(std::string name) {
    noteWhetherWaiting();
    const Local local;
    {
        const std::lock_guard lock(g_scene->mutex);
        g_scene->names.push_back(name);
    }
    while (g_scene->takesLeft-- > 0) {
        RequestTriple request;
        g_scene->binding->ovrThreadInstructionPost(lockTake, &request, fnRead);
        note(request);
    }
    return nullptr;
}

void* takeTwoAndStopTheHost(std::string /*name*/) {
    const Local local;
    for (int taken = 1;; ++taken) {
        RequestTriple request;
        g_scene->binding->ovrThreadInstructionPost(lockTake, &request, fnUpdate);
        note(request);
        if (taken == 2) {
            Requester::stop();
        }
    }
}

void* takeOneOfEachOtherKind(std::string /*name*/) {
    RequestTriple request;
    g_scene->binding->ovrThreadInstructionPost(lockTake, &request, fnUpdate);
    note(request);
    g_scene->binding->ovrThreadInstructionPost(lockTake, &request, fnCreate);
    note(request);
    return nullptr;
}

void postToTheReader(char* msgId, char* reqArg, char* replyChannel) {
    noteWhetherWaiting();
    RequestTriple request(msgId, reqArg, replyChannel);
    g_scene->binding->ovrThreadInstructionPost(lockPost, &request, fnRead);
    request = {"overwritten", "after", "the post"};
}

class PluginHost : public testing::Test {
protected:
    PluginHost() {
        g_scene = &scene;
        scene.binding = &binding;
    }
    ~PluginHost() override { g_scene = nullptr; }

    void post(fnTypes function, const std::string& reqArg) {
        RequestTriple request{"00001", reqArg, "channel"};
        binding.ovrThreadInstructionPost(lockPost, &request, function);
    }
    void wait() {
        scene.isWaiting = true;
        binding.ovrThreadWaitForExit();
        scene.isWaiting = false;
    }
    std::vector<std::string> takenArguments() {
        std::vector<std::string> arguments;
        for (const auto& [msgId, reqArg, replyChannel] : scene.taken) {
            arguments.push_back(reqArg);
        }
        return arguments;
    }

    Scene scene;
    Requester requester;
    ovrBindCAPIToOssel binding;
};

TEST_F(PluginHost, CallsTheHookInsideTheWaitWithEveryRequestInOrder) {
    binding.ovrAddRunningThread(takeAndReturn, "Reader");
    binding.ovrcbIdSet("type-1");
    binding.ovrRedisContextSet(nullptr);
    binding.ovrHookFnSet(postToTheReader);
    std::string name = "Provider";
    char* registration = name.data();
    binding.ovrHookFnRedisRegister(&registration);
    const std::vector<RequestTriple> requests{
        {"00001", "first", "reply-1"}, {"00002", "second", "reply-2"}, {"x", "", "reply 3"}};
    for (const RequestTriple& request : requests) {
        requester.request(request);
    }
    scene.takesLeft = 3;
    wait();
    EXPECT_EQ(scene.taken, requests);
    EXPECT_EQ(scene.outsideTheWait, 0);
    EXPECT_THAT(scene.names, ElementsAre("Reader"));
    EXPECT_EQ(scene.destroyed, 1);
}

TEST_F(PluginHost, GivesEachPostToTheWorkersOfItsKindOnceAndInOrder) {
    binding.ovrAddRunningThread(takeAndReturn, "Reader");
    binding.ovrAddRunningThread(takeOneOfEachOtherKind, "Other");
    post(fnRead, "read 1");
    post(fnCreate, "create");
    post(fnRead, "read 2");
    post(fnUpdate, "update");
    scene.takesLeft = 2;
    wait();
    const std::vector<std::string> taken = takenArguments();
    EXPECT_THAT(taken, testing::UnorderedElementsAre("read 1", "read 2", "update", "create"));
    const auto position = [&taken](const char* text) {
        return std::find(taken.begin(), taken.end(), text) - taken.begin();
    };
    EXPECT_LT(position("read 1"), position("read 2"));
    EXPECT_LT(position("update"), position("create"));
}

TEST_F(PluginHost, ReturnsFromTheWaitWhenEveryWorkerHasEndedByItself) {
    binding.ovrAddRunningThread(takeAndReturn, "First");
    binding.ovrAddRunningThread(takeAndReturn, "Second");
    wait();
    EXPECT_THAT(scene.names, testing::UnorderedElementsAre("First", "Second"));
    EXPECT_THAT(scene.taken, IsEmpty());
    EXPECT_EQ(scene.destroyed, 2);
}

TEST_F(PluginHost, EndsAWorkerInsideItsTakeAndDestroysItsLocals) {
    binding.ovrAddRunningThread(takeTwoAndStopTheHost, "Updater");
    post(fnUpdate, "first");
    post(fnUpdate, "second");
    wait();
    EXPECT_THAT(takenArguments(), ElementsAre("first", "second"));
    EXPECT_EQ(scene.destroyed, 1);
}

} // namespace
} // namespace contract
