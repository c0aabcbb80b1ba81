// The public classes in this process: what needs no redis and no signal.
#include "platform/plugin_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

// What the thread bodies of a test record.
std::mutex mutex;
std::vector<std::string> record;
ovrComSupport* support = nullptr;

void note(const std::string& text) {
    const std::lock_guard lock(mutex);
    record.push_back(text);
}

class Threads : public ::testing::Test {
protected:
    void SetUp() override {
        // A test run in the background inherits an ignored SIGINT; then it stays ignored.
        ::signal(SIGINT, SIG_DFL);
        record.clear();
        support = &host;
    }
    ovrComSupport host;
};

TEST_F(Threads, WaitReturnsAtOnceWithoutAny) {
    host.ovrThreadWaitForExit();
    ovrBindCAPIToOssel binding;
    binding.ovrThreadWaitForExit();
}

TEST_F(Threads, GetTheirNamesAndStartInsideTheWait) {
    const auto body = [](std::string name) -> void* {
        note(name);
        return nullptr;
    };
    host.ovrAddRunningThread(body, "first");
    host.ovrAddRunningThread(body, "second");
    EXPECT_TRUE(record.empty());
    host.ovrThreadWaitForExit();
    std::sort(record.begin(), record.end());
    EXPECT_EQ(record, (std::vector<std::string>{"first", "second"}));
}

TEST_F(Threads, ShareARequestThatAnyThreadPosted) {
    host.ovrAddRunningThread(
        [](std::string) -> void* {
            RequestTriple request;
            for (int i = 0; i < 2; ++i) {
                support->ovrThreadInstructionPost(lockTake, &request, fnRead);
                note(std::get<1>(request));
            }
            return nullptr;
        },
        "reader");
    host.ovrAddRunningThread(
        [](std::string) -> void* {
            RequestTriple request("00001", "from a worker", "replies");
            support->ovrThreadInstructionPost(lockPost, &request, fnRead);
            return nullptr;
        },
        "poster");
    RequestTriple request("00001", "before the wait", "replies");
    host.ovrThreadInstructionPost(lockPost, &request, fnRead);
    host.ovrThreadWaitForExit();
    EXPECT_EQ(record, (std::vector<std::string>{"before the wait", "from a worker"}));
}

TEST_F(Threads, HaveTheSignalsBlockedAndTheWaitGivesTheMaskBack) {
    const auto isBlocked = [] {
        sigset_t mask;
        ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
        return ::sigismember(&mask, SIGTERM) == 1 && ::sigismember(&mask, SIGINT) == 1;
    };
    static const auto kIsBlocked = isBlocked;
    host.ovrAddRunningThread(
        [](std::string) -> void* {
            note(kIsBlocked() ? "blocked" : "open");
            return nullptr;
        },
        "worker");
    host.ovrThreadWaitForExit();
    EXPECT_EQ(record, std::vector<std::string>{"blocked"});
    EXPECT_FALSE(isBlocked());
}

TEST_F(Threads, LeaveAPostAfterTheEndToBeReported) {
    host.ovrAddRunningThread([](std::string) -> void* { return nullptr; }, "worker");
    host.ovrThreadWaitForExit();
    RequestTriple request("00003", "object", "replies");
    testing::internal::CaptureStderr();
    host.ovrThreadInstructionPost(lockPost, &request, fnUpdate);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ovrhost]: A request posted after the end is dropped: 00003\n");
}

TEST_F(Threads, AreNotRegisteredWithoutABodyNorAHookWithoutAName) {
    testing::internal::CaptureStderr();
    host.ovrAddRunningThread(nullptr, "nobody");
    host.ovrThreadInstructionPost(lockPost, nullptr, fnRead);
    ovrBindCAPIToOssel binding;
    binding.ovrHookFnRedisRegister(nullptr);
    char* name = nullptr;
    binding.ovrHookFnRedisRegister(&name);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ovrhost]: A thread without a body is not registered: nobody\n"
              "[ovrhost]: A post without a request is ignored\n"
              "[ovrhost]: A hook without a name is not registered\n"
              "[ovrhost]: A hook without a name is not registered\n");
    host.ovrThreadWaitForExit();
}

} // namespace
