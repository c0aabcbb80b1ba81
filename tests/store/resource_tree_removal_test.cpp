// Taking the resource tree down: children before parents, past every failure.
#include "tests/store/tree_test.h"

namespace {

using namespace store_test;
using doubles::context;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

std::string hashDeletionFailed(const std::string& key) {
    return "[deleteInstance]: Failed to call osselDeleteHash( " + key + " ).\n";
}

// With a complete tree in the store.
class TreeRemoval : public TreeTest {
protected:
    TreeRemoval() {
        EXPECT_EQ(OrvaneWebGUI_Init(context()), 1);
        doubles::calls();
        output();
    }
    Calls webGUIRemovalCalls() const {
        const Calls first = joined({fieldCall(webGUI(), "Actions")}, actionsRemovalCalls());
        return joined(first, {deleteCall(webGUI())});
    }
};

TEST_F(TreeRemoval, DeletesChildrenBeforeTheirParents) {
    OrvaneWebGUI_Delete(context(), webGUI(), "");
    EXPECT_THAT(doubles::calls(), ElementsAreArray(webGUIRemovalCalls()));
    EXPECT_THAT(doubles::hashes(), IsEmpty());
    EXPECT_EQ(output(), "");
}

TEST_F(TreeRemoval, TakesOnlyTheTopInstanceOutOfTheGivenCollection) {
    OrvaneWebGUI_Delete(context(), webGUI(), "collection");
    EXPECT_THAT(
        doubles::calls(),
        ElementsAreArray(joined(webGUIRemovalCalls(),
                                {call("osselLREM", "\"collection\", 1, " + quoted(webGUI()))})));
}

TEST_F(TreeRemoval, DeletesTheHashWithoutAnActionsField) {
    doubles::hashes()[webGUI()] = {{"Name", "name"}};
    OrvaneWebGUI_Delete(context(), webGUI(), "");
    EXPECT_THAT(doubles::calls(),
                ElementsAre(fieldCall(webGUI(), "Actions"), deleteCall(webGUI())));
    EXPECT_EQ(output(), failedTo("OrvaneWebGUI_Delete", "osselGetHashField"));
}

TEST_F(TreeRemoval, GoesOnWithAnEmptyActionsField) {
    doubles::hashes()[webGUI()] = {{"Actions", ""}};
    OrvaneWebGUI_Delete(context(), webGUI(), "");
    EXPECT_THAT(doubles::calls(),
                ElementsAre(fieldCall(webGUI(), "Actions"), fieldCall("", "Oem"),
                            fieldCall("", "#WebGUI.TurnOffLCD"), fieldCall("", "#WebGUI.GUIReady"),
                            deleteCall(webGUI())));
    const std::string unread = failedTo("OrvaneWebGUI_Actions_Delete", "osselGetHashField");
    EXPECT_EQ(output(), unread + unread + unread +
                            "[deleteInstance]: The instance UUID is empty.\n" +
                            failedTo("OrvaneWebGUI_Actions_Delete", "deleteInstance") +
                            failedTo("OrvaneWebGUI_Delete", "OrvaneWebGUI_Actions_Delete"));
}

TEST_F(TreeRemoval, GoesOnPastEveryFailedDeletion) {
    doubles::failAlways("osselDeleteHash", 5);
    OrvaneWebGUI_Delete(context(), webGUI(), "");
    EXPECT_THAT(doubles::calls(), ElementsAreArray(webGUIRemovalCalls()));
    const std::string parent = "OrvaneWebGUI_Actions_Delete";
    EXPECT_EQ(output(), hashDeletionFailed(oem()) +
                            failedTo("OrvaneWebGUI_Actions_Oem_Delete", "deleteInstance") +
                            failedTo(parent, "OrvaneWebGUI_Actions_Oem_Delete") +
                            hashDeletionFailed(turnOffLCD()) +
                            failedTo("OrvaneWebGUI_Actions_TurnOffLCD_Delete", "deleteInstance") +
                            failedTo(parent, "OrvaneWebGUI_Actions_TurnOffLCD_Delete") +
                            hashDeletionFailed(guiReady()) +
                            failedTo("OrvaneWebGUI_Actions_GUIReady_Delete", "deleteInstance") +
                            failedTo(parent, "OrvaneWebGUI_Actions_GUIReady_Delete") +
                            hashDeletionFailed(actions()) + failedTo(parent, "deleteInstance") +
                            failedTo("OrvaneWebGUI_Delete", parent) + hashDeletionFailed(webGUI()) +
                            failedTo("OrvaneWebGUI_Delete", "deleteInstance"));
}

TEST_F(TreeRemoval, SkipsAChildThatCannotBeRead) {
    for (int nth = 1; nth <= 3; ++nth) {
        SCOPED_TRACE(nth);
        doubles::failNth("osselGetHashField", nth);
        const std::vector<std::string> children{oem(), turnOffLCD(), guiReady()};
        EXPECT_EQ(OrvaneWebGUI_Actions_Delete(context(), actions(), ""), 0);
        EXPECT_EQ(output(), failedTo("OrvaneWebGUI_Actions_Delete", "osselGetHashField"));
        Calls expected;
        for (std::size_t i = 0; i < 3; ++i) {
            if (static_cast<int>(i) != nth - 1) {
                expected.push_back(deleteCall(children[i]));
            }
        }
        expected.push_back(deleteCall(actions()));
        EXPECT_THAT(doubles::callsOf("osselDeleteHash"), ElementsAreArray(expected));
        doubles::hashes()[actions()] = {
            {"Oem", oem()}, {"#WebGUI.TurnOffLCD", turnOffLCD()}, {"#WebGUI.GUIReady", guiReady()}};
    }
}

TEST_F(TreeRemoval, ReturnsTheResultOfTheActionsInstanceAlone) {
    doubles::failNth("osselDeleteHash", 1);
    EXPECT_EQ(OrvaneWebGUI_Actions_Delete(context(), actions(), ""), 0);
    doubles::failAlways("osselDeleteHash");
    EXPECT_EQ(OrvaneWebGUI_Actions_Delete(context(), actions(), ""), 1);
}

TEST_F(TreeRemoval, TakesTheActionsInstanceOutOfTheGivenCollection) {
    doubles::lists()["list"] = {actions()};
    EXPECT_EQ(OrvaneWebGUI_Actions_Delete(context(), actions(), "list"), 0);
    EXPECT_THAT(doubles::callsOf("osselLREM"),
                ElementsAre(call("osselLREM", "\"list\", 1, " + quoted(actions()))));
}

TEST_F(TreeRemoval, DeletesEachLeafAndItsMembership) {
    doubles::lists()["list"] = {oem(), turnOffLCD(), guiReady()};
    EXPECT_EQ(OrvaneWebGUI_Actions_Oem_Delete(context(), oem(), "list"), 0);
    EXPECT_EQ(OrvaneWebGUI_Actions_TurnOffLCD_Delete(context(), turnOffLCD(), "list"), 0);
    EXPECT_EQ(OrvaneWebGUI_Actions_GUIReady_Delete(context(), guiReady(), "list"), 0);
    EXPECT_FALSE(doubles::lists().contains("list"));
    EXPECT_EQ(output(), "");
}

TEST_F(TreeRemoval, ReturnsOneForALeafThatCannotBeDeleted) {
    doubles::failAlways("osselDeleteHash", 6);
    EXPECT_EQ(OrvaneWebGUI_Actions_Oem_Delete(context(), oem(), ""), 1);
    EXPECT_EQ(OrvaneWebGUI_Actions_TurnOffLCD_Delete(context(), turnOffLCD(), ""), 1);
    EXPECT_EQ(OrvaneWebGUI_Actions_GUIReady_Delete(context(), guiReady(), ""), 1);
}

TEST_F(TreeRemoval, DeletesTheWholeInstanceCollection) {
    doubles::lists()["collection"].emplace_back("theirs");
    EXPECT_EQ(OrvaneWebGUI_DeleteInstanceCollection(context()), 0);
    EXPECT_THAT(doubles::lists(), IsEmpty());
    doubles::fail("osselDeleteHash", 7);
    EXPECT_EQ(OrvaneWebGUI_DeleteInstanceCollection(context()), 7);
    EXPECT_EQ(output(),
              "[deleteInstanceCollection]: Failed to call osselDeleteHash( collection ).\n" +
                  failedTo("OrvaneWebGUI_DeleteInstanceCollection", "deleteInstanceCollection"));
}

class CleanCreated : public TreeRemoval {};

TEST_F(CleanCreated, TakesEverythingDownAndDestroysTheAgentLast) {
    OrvaneWebGUI_CleanCreated(context());
    Calls expected = joined(webGUIRemovalCalls(), {deleteCall("collection")});
    expected = joined(expected, renewCalls(1, webGUI(), 2));
    EXPECT_THAT(doubles::calls(), ElementsAreArray(joined(expected, {"close_database()"})));
    EXPECT_EQ(test::agentDestructions(), 1);
    EXPECT_EQ(G_WebGUIAgent, nullptr);
    EXPECT_THAT(G_InstanceKeys, IsEmpty());
    EXPECT_THAT(doubles::hashes(), IsEmpty());
    EXPECT_THAT(doubles::lists(), IsEmpty());
    EXPECT_THAT(doubles::sets(), IsEmpty());
    EXPECT_EQ(output(), "");
}

TEST_F(CleanCreated, TakesTheKeysInTheOrderOfTheSet) {
    G_InstanceKeys.insert("11");
    G_InstanceKeys.insert("zz");
    OrvaneWebGUI_CleanCreated(context());
    EXPECT_THAT(doubles::callsOf("osselCreateSetTable"),
                ElementsAre(call("osselCreateSetTable", quoted(doubles::uuid(2)) + ", {\"11\", " +
                                                            quoted(webGUI()) + ", \"zz\"}, 3")));
    const std::string unread = failedTo("OrvaneWebGUI_Delete", "osselGetHashField");
    EXPECT_EQ(output(), unread + unread);
}

TEST_F(CleanCreated, RenewsEvenWithAnEmptyKeySet) {
    G_InstanceKeys.clear();
    OrvaneWebGUI_CleanCreated(context());
    EXPECT_THAT(doubles::calls(), ElementsAre(deleteCall("collection"), "close_database()"));
    EXPECT_EQ(output(), "[renewWorkTree]: Invalid parameters: instSet is NULL or count(0) is 0.\n");
    EXPECT_EQ(test::agentDestructions(), 1);
}

TEST_F(CleanCreated, DeletesTheEmptyKeyWithoutACollection) {
    G_ResourceTypeIds.instanceCollectionKey.clear();
    OrvaneWebGUI_CleanCreated(context());
    EXPECT_THAT(doubles::callsOf("osselDeleteHash").back(), deleteCall(""));
}

TEST_F(CleanCreated, AddsNoLineForAFailedRenewal) {
    doubles::fail("osselGenerateUUID", 8);
    OrvaneWebGUI_CleanCreated(context());
    EXPECT_EQ(output(), "[renewWorkTree]: Failed to call osselGenerateUUID().\n");
    EXPECT_EQ(test::agentDestructions(), 1);
}

TEST_F(CleanCreated, GoesOnPastAFailedCollection) {
    doubles::failNth("osselDeleteHash", 6);
    OrvaneWebGUI_CleanCreated(context());
    EXPECT_EQ(output(),
              "[deleteInstanceCollection]: Failed to call osselDeleteHash( collection ).\n" +
                  failedTo("OrvaneWebGUI_DeleteInstanceCollection", "deleteInstanceCollection"));
    EXPECT_THAT(doubles::sets(), IsEmpty());
    EXPECT_EQ(test::agentDestructions(), 1);
}

TEST_F(CleanCreated, TakesTheInstancesDownWithoutMemoryForTheSet) {
    doubles::failAllocation(1);
    OrvaneWebGUI_CleanCreated(context());
    doubles::failAllocation(0);
    EXPECT_THAT(doubles::hashes(), IsEmpty());
    EXPECT_THAT(G_InstanceKeys, IsEmpty());
    EXPECT_EQ(test::agentDestructions(), 1);
}

class Clean : public TreeRemoval {};

TEST_F(Clean, TakesDownWhatTheCollectionNames) {
    OrvaneWebGUI_Clean(context());
    Calls expected = joined({call("osselSMembers", "\"collection\"")}, webGUIRemovalCalls());
    expected = joined(expected, {deleteCall("collection")});
    EXPECT_THAT(doubles::calls(), ElementsAreArray(joined(expected, renewCalls(1, webGUI(), 2))));
    EXPECT_THAT(G_InstanceKeys, IsEmpty());
    EXPECT_NE(G_WebGUIAgent, nullptr);
    EXPECT_EQ(output(), "");
}

TEST_F(Clean, TakesTheMembersInTheReturnedOrder) {
    doubles::lists()["collection"] = {"zz", "11"};
    OrvaneWebGUI_Clean(context());
    EXPECT_THAT(doubles::callsOf("osselDeleteHash"),
                ElementsAre(deleteCall("zz"), deleteCall("11"), deleteCall("collection")));
    EXPECT_EQ(output(), failedTo("OrvaneWebGUI_Delete", "osselGetHashField") +
                            failedTo("OrvaneWebGUI_Delete", "osselGetHashField"));
}

TEST_F(Clean, OnlyDeletesAnEmptyCollectionAndRenewsNothing) {
    doubles::lists().clear();
    OrvaneWebGUI_Clean(context());
    EXPECT_THAT(doubles::calls(),
                ElementsAre(call("osselSMembers", "\"collection\""), deleteCall("collection")));
    EXPECT_THAT(G_InstanceKeys, IsEmpty());
    EXPECT_EQ(output(), "");
}

TEST_F(Clean, OnlyDeletesACollectionThatCannotBeRead) {
    doubles::fail("osselSMembers", 9);
    OrvaneWebGUI_Clean(context());
    EXPECT_THAT(doubles::calls(),
                ElementsAre(call("osselSMembers", "\"collection\""), deleteCall("collection")));
    EXPECT_THAT(G_InstanceKeys, IsEmpty());
    EXPECT_EQ(output(), "[OrvaneWebGUI_Clean]: Failed to call osselSMembers( collection ).\n");
}

TEST_F(Clean, SaysFirstThatTheCollectionCannotBeRead) {
    doubles::fail("osselSMembers", 9);
    doubles::fail("osselDeleteHash", 10);
    OrvaneWebGUI_Clean(context());
    EXPECT_EQ(output(),
              "[OrvaneWebGUI_Clean]: Failed to call osselSMembers( collection ).\n"
              "[deleteInstanceCollection]: Failed to call osselDeleteHash( collection ).\n" +
                  failedTo("OrvaneWebGUI_DeleteInstanceCollection", "deleteInstanceCollection"));
}

TEST_F(Clean, FreesTheMembers) {
    const int before = doubles::liveBlocks();
    OrvaneWebGUI_Clean(context());
    EXPECT_EQ(doubles::liveBlocks(), before);
}

} // namespace
