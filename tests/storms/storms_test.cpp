// The short form of the storms: each fault of the store a few times, in the middle of a load.
#include "tests/storms/storm.h"

#include "tests/support/wait_until.h"

#include <gmock/gmock.h>

namespace {

using std::chrono::milliseconds;
using storms::Fault;
using storms::Storm;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

// Sanitizer builds are slow.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr milliseconds kBackWithin{4000};
#else
constexpr milliseconds kBackWithin{1000};
#endif
// The pauses of the two updates that a read may wait for, plus its own.
constexpr milliseconds kPauses{1500};

class StoreFaults : public storms::Storms {
protected:
    // Like raise(); also expects the service back in time.
    Storm live(Fault fault) {
        Storm storm = raise(fault);
        EXPECT_LE(storm.recovery, kBackWithin) << errors();
        EXPECT_LE(storm.reading, kBackWithin + kPauses) << errors();
        EXPECT_GT(storm.accounts.answered, 0);
        std::cout << storms::nameOf(fault) << ": back after " << storm.recovery.count()
                  << " ms, reads after " << storm.reading.count() << " ms\n";
        return storm;
    }
};

TEST_F(StoreFaults, AKilledStoreThatComesBackWithItsDataCostsNoRestart) {
    for (int i = 0; i < 2; ++i) {
        live(Fault::killed);
        EXPECT_EQ(countInErrors("The subscription to OrvaneWebGUI is lost: "), 1U) << errors();
        EXPECT_EQ(countInErrors("The subscription to OrvaneWebGUI is back"), 1U) << errors();
    }
}

TEST_F(StoreFaults, AKilledStoreThatComesBackWithAnOldSnapshotCostsNoRestart) {
    live(Fault::killedToAnOldOne);
}

TEST_F(StoreFaults, AStoreThatComesBackEmptyIsFilledByTheRestartThatTheUnitMakes) {
    for (int i = 0; i < 2; ++i) {
        live(Fault::emptied);
        for (const char* key :
             {test::kWebGui, test::kActions, test::kOem, test::kTurnOffLcd, test::kGuiReady}) {
            EXPECT_TRUE(exists(key)) << key;
        }
        EXPECT_EQ(redis().command({"LRANGE", collectionKey(), "0", "-1"}), test::kWebGui);
    }
}

TEST_F(StoreFaults, APausedStoreIsGivenUpAndServesAgainWhenItGoesOn) {
    live(Fault::paused);
    EXPECT_THAT(errors(), HasSubstr("no answer within 2 s"));
}

TEST_F(StoreFaults, AStoreWithoutMemoryIsToldAndServesAgainWithoutARestart) {
    const Storm storm = live(Fault::outOfMemory);
    EXPECT_GT(storm.accounts.givenUp, 0);
    EXPECT_THAT(errors(), HasSubstr("OOM command not allowed"));
    EXPECT_THAT(output(), HasSubstr("[sendReturnMsg]: Failed to call osselCreateReturnMessage("));
    EXPECT_THAT(output(), HasSubstr("[read]: Failed to call sendReturnMsg()."));
}

TEST_F(StoreFaults, AStoreAtItsConnectionLimitIsToldAndServesAgainWithoutARestart) {
    live(Fault::connectionLimit);
    // Logged once per outage, by whichever of the two the first worker met.
    EXPECT_THAT(errors(), AnyOf(HasSubstr("ERR max number of clients reached"),
                                HasSubstr("Server closed the connection")));
}

class SlowStore : public StoreFaults {
protected:
    SlowStore() { putRelayBetween(); }
};

TEST_F(SlowStore, DelaysAnswersAndLosesNone) {
    const Storm storm = live(Fault::slow);
    EXPECT_EQ(storm.accounts.givenUp, 0);
    EXPECT_THAT(errors(), Not(HasSubstr("redis")));
}

TEST_F(SlowStore, IsGivenUpBeyondTheTimeOutAndServesAgainWhenItIsQuickAgain) {
    live(Fault::tooSlow);
    EXPECT_THAT(errors(), HasSubstr("no answer within 2 s"));
}

} // namespace
