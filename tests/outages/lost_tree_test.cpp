// The store loses its contents under the running daemon: it answers, but only a start rebuilds the
// tree. docs/board.md tells what triggers that start on a board.
#include "tests/end_to_end/end_to_end.h"

#include <csignal>

namespace {

using test::Answer;
using test::kWebGui;

class LostTreeTest : public test::EndToEnd {
protected:
    // Empties the store and provisions its schema again.
    void SetUp() override {
        startDaemon();
        ASSERT_EQ(ask("00002", requestObject({{"Language", "Dansk"}})).messageId, "Success");
        ASSERT_EQ(redis().command({"FLUSHALL"}), "OK");
        ASSERT_EQ(orvanectl({"provision"}).status, 0);
    }

    void expectTree() {
        for (const char* key :
             {kWebGui, test::kActions, test::kOem, test::kTurnOffLcd, test::kGuiReady}) {
            EXPECT_TRUE(exists(key)) << key;
        }
        EXPECT_EQ(field(kWebGui, "Language"), "Dansk");
        EXPECT_EQ(redis().command({"LRANGE", collectionKey(), "0", "-1"}), kWebGui);
        EXPECT_EQ(redis().command({"SMEMBERS", "WorkTree:" + schemaTypeId()}), kWebGui);
        EXPECT_EQ(field("OvrCallbacks", schemaTypeId()), "OrvaneWebGUI");
        EXPECT_EQ(ask("00001", kWebGui), (Answer{"Success", {}}));
    }
};

using LostTree = LostTreeTest;

TEST_F(LostTree, IsNotRebuiltByRequestsThatAreAnsweredAllTheSame) {
    EXPECT_EQ(ask("00001", kWebGui), (Answer{"Success", {}}));
    EXPECT_EQ(ask("00002", requestObject({{"Language", "Suomi"}})), (Answer{"Success", {}}));
    EXPECT_EQ(setting("Language"), "Suomi");
    EXPECT_EQ(field(kWebGui, "Theme"), "(nil)");
    EXPECT_FALSE(exists(test::kActions));
    EXPECT_FALSE(exists("OvrCallbacks"));
}

TEST_F(LostTree, IsRebuiltByAnOrderlyRestart) {
    EXPECT_EQ(stopDaemon(), 0);
    startDaemon();
    expectTree();
}

TEST_F(LostTree, IsRebuiltByTheStartAfterAKill) {
    daemon().signal(SIGKILL);
    daemon().wait();
    startDaemon();
    expectTree();
}

} // namespace
