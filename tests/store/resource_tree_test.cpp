// Building the resource tree: order, roll-backs, log lines.
#include "tests/store/tree_test.h"

// The linker puts these in place of WebGUIPlugin_FillDocument, which itself never fails.
extern "C" {
int __real__Z25WebGUIPlugin_FillDocumentP12redisContextPNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEi(
    redisContext* context, std::string* uuid, int index);
int __wrap__Z25WebGUIPlugin_FillDocumentP12redisContextPNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEi(
    redisContext* context, std::string* uuid, int index);
}

namespace {

bool g_fillingFails = false;

using namespace store_test;
using doubles::context;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Key;
using testing::UnorderedElementsAre;

// The lines that Init adds to a failure of the subtree, and to one of the WebGUI instance.
// NOLINTBEGIN(cert-err58-cpp): without memory for them the test fails, as it should
const std::string kSubtreeFailed =
    failedTo("OrvaneWebGUI_Init_Create", "OrvaneWebGUI_Actions_Init_Create") +
    failedTo("OrvaneWebGUI_Init", "WebGUIPlugin_CreateInstance");
const std::string kTopFailed = failedTo("OrvaneWebGUI_Init_Create", "createInstance") +
                               failedTo("OrvaneWebGUI_Init", "WebGUIPlugin_CreateInstance");
// NOLINTEND(cert-err58-cpp)

std::string createFailed(const std::string& uuid, const std::string& count) {
    return "[createInstance]: Failed to call osselCreateHashTable( " + uuid + ", ..., " + count +
           " ).\n";
}

// Two lines of a leaf and two of its parent.
std::string leafFailed(const std::string& uuid, const std::string& count,
                       const std::string& function) {
    return createFailed(uuid, count) + failedTo(function, "createInstance") +
           failedTo("OrvaneWebGUI_Actions_Init_Create", function) +
           failedTo("OrvaneWebGUI_Actions_Init_Create", "OrvaneWebGUI_TurnOffLCD_CreateInstance");
}

class TreeInit : public TreeTest {
protected:
    // Runs an Init that fails and checks what all failures have in common.
    static void initFails() {
        EXPECT_EQ(OrvaneWebGUI_Init(context()), 0);
        EXPECT_THAT(G_InstanceKeys, IsEmpty());
        EXPECT_NE(G_WebGUIAgent, nullptr);
        EXPECT_EQ(test::agentDestructions(), 0);
        EXPECT_EQ(G_ResourceDocuments.webGUI, nullptr);
    }
    std::string oemDeletionFailed() const {
        return "[deleteInstance]: Failed to call osselDeleteHash( " + oem() + " ).\n" +
               failedTo("OrvaneWebGUI_Actions_Oem_Delete", "deleteInstance");
    }
};

TEST_F(TreeInit, BuildsFromTheLeavesUpAndRegistersTheTree) {
    EXPECT_EQ(OrvaneWebGUI_Init(context()), 1);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(joined(treeCalls(), renewCalls(0, webGUI()))));
    EXPECT_EQ(output(), "");
}

TEST_F(TreeInit, LeavesHashesMembershipKeySetAndAgent) {
    EXPECT_EQ(OrvaneWebGUI_Init(context()), 1);
    EXPECT_THAT(doubles::hashes(), UnorderedElementsAre(Key(webGUI()), Key(actions()), Key(oem()),
                                                        Key(turnOffLCD()), Key(guiReady())));
    EXPECT_THAT(doubles::lists()["collection"], ElementsAre(webGUI()));
    EXPECT_THAT(doubles::sets()["WorkTree:schema-type"], ElementsAre(webGUI()));
    EXPECT_THAT(doubles::freshness(), ElementsAre(testing::Pair(webGUI(), 1)));
    EXPECT_THAT(G_InstanceKeys, ElementsAre(webGUI()));
    EXPECT_NE(G_WebGUIAgent, nullptr);
    EXPECT_EQ(G_ResourceDocuments.webGUI, nullptr);
}

TEST_F(TreeInit, JoinsASetWhereTheCollectionIsOne) {
    doubles::sets()["collection"] = {"other"};
    EXPECT_EQ(OrvaneWebGUI_Init(context()), 1);
    EXPECT_THAT(doubles::sets()["collection"], ElementsAre("other", webGUI()));
    EXPECT_EQ(output(), "");
}

TEST_F(TreeInit, JoinsNothingWithoutACollectionKey) {
    G_ResourceTypeIds.instanceCollectionKey.clear();
    EXPECT_EQ(OrvaneWebGUI_Init(context()), 1);
    EXPECT_THAT(doubles::lists(), IsEmpty());
    EXPECT_THAT(doubles::callsOf("osselListRightPush"), IsEmpty());
}

TEST_F(TreeInit, EndsAtOnceWithoutAnAgent) {
    test::setAgentCreationResult(0);
    EXPECT_EQ(OrvaneWebGUI_Init(context()), 0);
    EXPECT_THAT(doubles::calls(), IsEmpty());
    EXPECT_EQ(output(), "");
}

TEST_F(TreeInit, RollsBackSilentlyForEveryAllocationThatFails) {
    int nth = 1;
    for (;; ++nth) {
        SCOPED_TRACE(nth);
        ASSERT_LT(nth, 20);
        test::clearProcessState();
        test::setProvisionedTypeIds();
        doubles::calls();
        doubles::failAllocation(nth);
        const int result = OrvaneWebGUI_Init(context());
        const bool failed = doubles::allocationFailed();
        doubles::failAllocation(0);
        if (!failed) {
            EXPECT_EQ(result, 1);
            break;
        }
        EXPECT_EQ(result, 0);
        EXPECT_THAT(doubles::calls(), ElementsAre(deleteCall("collection")));
        EXPECT_EQ(output(), "");
        EXPECT_NE(G_WebGUIAgent, nullptr);
    }
    EXPECT_EQ(nth, 7) << "the instance set and the five documents";
}

TEST_F(TreeInit, RollsBackWhenTheDocumentsCannotBeFilled) {
    g_fillingFails = true;
    initFails();
    g_fillingFails = false;
    EXPECT_THAT(doubles::calls(), ElementsAre(deleteCall("collection")));
    EXPECT_EQ(output(), "[OrvaneWebGUI_Init]: Failed to call WebGUIPlugin_FillDocument( 0 ).\n");
}

TEST_F(TreeInit, RollsBackWhenTheOemInstanceFails) {
    doubles::failNth("osselCreateHashTable", 1, 61);
    initFails();
    EXPECT_THAT(doubles::calls(), ElementsAre(oemHash(), deleteCall("collection")));
    EXPECT_EQ(output(),
              leafFailed(oem(), "1", "OrvaneWebGUI_Actions_Oem_Init_Create") + kSubtreeFailed);
}

TEST_F(TreeInit, DeletesTheOemInstanceWhenTurnOffLCDFails) {
    doubles::failNth("osselCreateHashTable", 2, 62);
    initFails();
    EXPECT_THAT(doubles::calls(), ElementsAre(oemHash(), turnOffLCDHash(), deleteCall(oem()),
                                              deleteCall("collection")));
    EXPECT_EQ(output(),
              leafFailed(turnOffLCD(), "3", "OrvaneWebGUI_Actions_TurnOffLCD_Init_Create") +
                  kSubtreeFailed);
}

TEST_F(TreeInit, LeavesTurnOffLCDBehindWhenGUIReadyFails) {
    doubles::failNth("osselCreateHashTable", 3, 63);
    initFails();
    EXPECT_THAT(doubles::calls(), ElementsAre(oemHash(), turnOffLCDHash(), guiReadyHash(),
                                              deleteCall(oem()), deleteCall("collection")));
    EXPECT_EQ(output(), leafFailed(guiReady(), "2", "OrvaneWebGUI_Actions_GUIReady_Init_Create") +
                            kSubtreeFailed);
    EXPECT_THAT(doubles::hashes(), ElementsAre(Key(turnOffLCD())));
}

TEST_F(TreeInit, DeletesTheLeavesWhenTheActionsInstanceFails) {
    doubles::failNth("osselCreateHashTable", 4, 64);
    initFails();
    EXPECT_THAT(doubles::calls(),
                ElementsAre(oemHash(), turnOffLCDHash(), guiReadyHash(), actionsHash(),
                            deleteCall(oem()), deleteCall(turnOffLCD()), deleteCall(guiReady()),
                            deleteCall("collection")));
    EXPECT_EQ(output(), createFailed(actions(), "4") +
                            failedTo("OrvaneWebGUI_Actions_Init_Create", "createInstance") +
                            kSubtreeFailed);
    EXPECT_THAT(doubles::hashes(), IsEmpty());
}

TEST_F(TreeInit, DeletesTheSubtreeWhenTheWebGUIInstanceFails) {
    hexStream();
    doubles::failNth("osselCreateHashTable", 5, 65);
    initFails();
    Calls expected = {oemHash(), turnOffLCDHash(), guiReadyHash(), actionsHash(), webGUIHash()};
    expected = joined(expected, actionsRemovalCalls());
    EXPECT_THAT(doubles::calls(), ElementsAreArray(joined(expected, {deleteCall("collection")})));
    EXPECT_EQ(output(), createFailed(webGUI(), "14") + kTopFailed);
    EXPECT_THAT(doubles::hashes(), IsEmpty());
}

TEST_F(TreeInit, DeletesTheSubtreeWhenTheWebGUIInstanceCannotBeMarkedFresh) {
    doubles::fail("osselHashAppendTTLObject", 66);
    initFails();
    EXPECT_EQ(output(), "[createInstance]: Failed to call osselHashAppendTTLObject( " + webGUI() +
                            ", 1 ).\n" + kTopFailed);
    EXPECT_THAT(doubles::hashes(), IsEmpty());
}

TEST_F(TreeInit, DeletesTheSubtreeWhenTheCollectionTakesNoMember) {
    doubles::fail("osselListRightPush");
    doubles::fail("osselSADD", 67);
    initFails();
    EXPECT_EQ(output(), "[createInstance]: Failed to call osselSADD( collection, " + webGUI() +
                            " ).\n" + kTopFailed);
    EXPECT_THAT(doubles::hashes(), IsEmpty());
}

TEST_F(TreeInit, ShowsTheFieldCountsInTheBaseOfTheStream) {
    decimalStream();
    doubles::failNth("osselCreateHashTable", 5);
    initFails();
    EXPECT_EQ(output(), createFailed(webGUI(), "20") + kTopFailed);
}

TEST_F(TreeInit, RemovesHashAndCollectionButNoSubtreeWhenTheWorkTreeFails) {
    doubles::fail("osselRenewCollection", 68);
    initFails();
    Calls expected = joined(treeCalls(), renewCalls(0, webGUI()));
    expected = joined(
        expected, {deleteCall(doubles::uuid(1)), deleteCall(webGUI()), deleteCall("collection")});
    EXPECT_THAT(doubles::calls(), ElementsAreArray(expected));
    EXPECT_EQ(output(), "[renewWorkTree]: Failed to call osselRenewCollection( schema-type, " +
                            doubles::uuid(1) + " ).\n" +
                            failedTo("OrvaneWebGUI_Init", "OrvaneWebGUI_renewAdd"));
    EXPECT_THAT(doubles::hashes(), UnorderedElementsAre(Key(actions()), Key(oem()),
                                                        Key(turnOffLCD()), Key(guiReady())));
    EXPECT_THAT(doubles::lists(), IsEmpty());
}

TEST_F(TreeInit, RollsBackEveryKeyOfTheSetInItsOrder) {
    G_InstanceKeys = {"zz", "11"};
    doubles::fail("osselGenerateUUID", 69);
    initFails();
    EXPECT_THAT(doubles::callsOf("osselDeleteHash"),
                ElementsAre(deleteCall("11"), deleteCall(webGUI()), deleteCall("zz"),
                            deleteCall("collection")));
}

TEST_F(TreeInit, GoesOnRollingBackPastFailures) {
    doubles::fail("osselRenewCollection", 68);
    doubles::failAlways("osselDeleteHash", 70);
    initFails();
    EXPECT_EQ(output(),
              "[renewWorkTree]: Failed to call osselRenewCollection( schema-type, " +
                  doubles::uuid(1) + " ).\n[renewWorkTree]: Failed to call osselDeleteHash( " +
                  doubles::uuid(1) + " ).\n" +
                  failedTo("OrvaneWebGUI_Init", "OrvaneWebGUI_renewAdd") +
                  "[deleteInstance]: Failed to call osselDeleteHash( " + webGUI() +
                  " ).\n[deleteInstanceCollection]: Failed to call osselDeleteHash( collection "
                  ").\n" +
                  failedTo("OrvaneWebGUI_DeleteInstanceCollection", "deleteInstanceCollection"));
}

TEST_F(TreeInit, LogsAFailedDeletionOfALeafUnderTheLeafsName) {
    doubles::failNth("osselCreateHashTable", 2);
    doubles::failNth("osselDeleteHash", 1);
    initFails();
    EXPECT_EQ(
        output(),
        createFailed(turnOffLCD(), "3") +
            failedTo("OrvaneWebGUI_Actions_TurnOffLCD_Init_Create", "createInstance") +
            failedTo("OrvaneWebGUI_Actions_Init_Create",
                     "OrvaneWebGUI_Actions_TurnOffLCD_Init_Create") +
            "[deleteInstance]: Failed to call osselDeleteHash( " + oem() + " ).\n" +
            failedTo("OrvaneWebGUI_Actions_Oem_Delete", "deleteInstance") +
            failedTo("OrvaneWebGUI_Actions_Init_Create", "OrvaneWebGUI_TurnOffLCD_CreateInstance") +
            kSubtreeFailed);
}

// A failure is logged before the roll-back's own failures.
TEST_F(TreeInit, LogsTheFailureOfGUIReadyBeforeTheDeletionOfItsSibling) {
    doubles::failNth("osselCreateHashTable", 3);
    doubles::failNth("osselDeleteHash", 1);
    initFails();
    EXPECT_EQ(
        output(),
        createFailed(guiReady(), "2") +
            failedTo("OrvaneWebGUI_Actions_GUIReady_Init_Create", "createInstance") +
            failedTo("OrvaneWebGUI_Actions_Init_Create",
                     "OrvaneWebGUI_Actions_GUIReady_Init_Create") +
            oemDeletionFailed() +
            failedTo("OrvaneWebGUI_Actions_Init_Create", "OrvaneWebGUI_TurnOffLCD_CreateInstance") +
            kSubtreeFailed);
}

TEST_F(TreeInit, LogsTheFailureOfTheActionsInstanceBeforeTheDeletionOfItsLeaves) {
    doubles::failNth("osselCreateHashTable", 4);
    doubles::failNth("osselDeleteHash", 1);
    initFails();
    EXPECT_EQ(output(), createFailed(actions(), "4") +
                            failedTo("OrvaneWebGUI_Actions_Init_Create", "createInstance") +
                            oemDeletionFailed() + kSubtreeFailed);
}

TEST_F(TreeInit, LogsTheFailureOfTheWebGUIInstanceBeforeTheDeletionOfItsSubtree) {
    decimalStream();
    doubles::failNth("osselCreateHashTable", 5);
    doubles::failNth("osselDeleteHash", 1);
    initFails();
    EXPECT_EQ(output(),
              createFailed(webGUI(), "20") +
                  failedTo("OrvaneWebGUI_Init_Create", "createInstance") + oemDeletionFailed() +
                  failedTo("OrvaneWebGUI_Actions_Delete", "OrvaneWebGUI_Actions_Oem_Delete") +
                  failedTo("OrvaneWebGUI_Init", "WebGUIPlugin_CreateInstance"));
}

// The single operations, on filled documents.
class TreeCreate : public TreeTest {
protected:
    TreeCreate() {
        createWebGUIAgent();
        allocateResourceDocuments();
        nameResourceDocuments();
        std::string uuid;
        WebGUIPlugin_FillDocument(context(), &uuid, 0);
    }
};

TEST_F(TreeCreate, ReturnsTheCodeOfTheStepThatFailed) {
    for (int nth = 1; nth <= 5; ++nth) {
        doubles::failNth("osselCreateHashTable", nth, 80 + nth);
        EXPECT_EQ(OrvaneWebGUI_Init_Create(context(), webGUI(), "collection"), 80 + nth);
    }
    doubles::fail("osselHashAppendTTLObject", 86);
    EXPECT_EQ(OrvaneWebGUI_Init_Create(context(), webGUI(), "collection"), 86);
    EXPECT_EQ(OrvaneWebGUI_Init_Create(context(), webGUI(), "collection"), 0);
}

TEST_F(TreeCreate, ReturnsTheCodeOfTheActionsSubtree) {
    for (int nth = 1; nth <= 4; ++nth) {
        doubles::failNth("osselCreateHashTable", nth, 90 + nth);
        EXPECT_EQ(OrvaneWebGUI_Actions_Init_Create(context(), actions(), ""), 90 + nth);
    }
    EXPECT_EQ(OrvaneWebGUI_Actions_Init_Create(context(), actions(), ""), 0);
}

TEST_F(TreeCreate, MakesOnlyTheNamedInstanceAMemberOfTheCollection) {
    EXPECT_EQ(OrvaneWebGUI_Actions_Init_Create(context(), actions(), "list"), 0);
    EXPECT_THAT(doubles::lists()["list"], ElementsAre(actions()));
    EXPECT_THAT(doubles::freshness(), IsEmpty());
}

TEST_F(TreeCreate, WritesEachLeafAndJoinsTheGivenCollection) {
    EXPECT_EQ(OrvaneWebGUI_Actions_Oem_Init_Create(context(), oem(), "list"), 0);
    EXPECT_EQ(OrvaneWebGUI_Actions_TurnOffLCD_Init_Create(context(), turnOffLCD(), "list"), 0);
    EXPECT_EQ(OrvaneWebGUI_Actions_GUIReady_Init_Create(context(), guiReady(), "list"), 0);
    EXPECT_THAT(doubles::callsOf("osselCreateHashTable"),
                ElementsAre(oemHash(), turnOffLCDHash(), guiReadyHash()));
    EXPECT_THAT(doubles::lists()["list"], ElementsAre(oem(), turnOffLCD(), guiReady()));
    EXPECT_THAT(doubles::freshness(), IsEmpty());
    EXPECT_EQ(output(), "");
}

TEST_F(TreeCreate, LogsAFailedLeafUnderItsNameAndReturnsTheCode) {
    doubles::failAlways("osselCreateHashTable", 71);
    EXPECT_EQ(OrvaneWebGUI_Actions_Oem_Init_Create(context(), oem(), ""), 71);
    EXPECT_EQ(OrvaneWebGUI_Actions_TurnOffLCD_Init_Create(context(), turnOffLCD(), ""), 71);
    EXPECT_EQ(OrvaneWebGUI_Actions_GUIReady_Init_Create(context(), guiReady(), ""), 71);
    EXPECT_EQ(output(),
              createFailed(oem(), "1") +
                  failedTo("OrvaneWebGUI_Actions_Oem_Init_Create", "createInstance") +
                  createFailed(turnOffLCD(), "3") +
                  failedTo("OrvaneWebGUI_Actions_TurnOffLCD_Init_Create", "createInstance") +
                  createFailed(guiReady(), "2") +
                  failedTo("OrvaneWebGUI_Actions_GUIReady_Init_Create", "createInstance"));
}

class TreeRenewal : public TreeTest {
protected:
    InstanceSlot slot_{};
};

TEST_F(TreeRenewal, AddsToTheWorkTreeOfTheSchemaType) {
    copyBounded(slot_, "one");
    EXPECT_EQ(OrvaneWebGUI_renewAdd(context(), &slot_, 1), 0);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(renewCalls(0, "one")));
}

TEST_F(TreeRenewal, RemovesFromTheWorkTreeOfTheSchemaType) {
    copyBounded(slot_, "one");
    EXPECT_EQ(OrvaneWebGUI_renewRemove(context(), &slot_, 1), 0);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(renewCalls(1, "one")));
}

TEST_F(TreeRenewal, HasFormsForASingleUuid) {
    EXPECT_EQ(OrvaneWebGUI_renewAddOne(context(), "one"), 0);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(renewCalls(0, "one", 1)));
    EXPECT_EQ(OrvaneWebGUI_renewRemoveOne(context(), "one"), 0);
    EXPECT_THAT(doubles::calls(), ElementsAreArray(renewCalls(1, "one", 2)));
}

TEST_F(TreeRenewal, PassesTheCodeOfAFailureOn) {
    copyBounded(slot_, "one");
    doubles::failAlways("osselCreateSetTable", 72);
    EXPECT_EQ(OrvaneWebGUI_renewAdd(context(), &slot_, 1), 72);
    EXPECT_EQ(OrvaneWebGUI_renewRemove(context(), &slot_, 1), 72);
    EXPECT_EQ(OrvaneWebGUI_renewAddOne(context(), "one"), 72);
    EXPECT_EQ(OrvaneWebGUI_renewRemoveOne(context(), "one"), 72);
}

} // namespace

int __wrap__Z25WebGUIPlugin_FillDocumentP12redisContextPNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEi(
    redisContext* context, std::string* uuid, int index) {
    return g_fillingFails
               ? 0
               : __real__Z25WebGUIPlugin_FillDocumentP12redisContextPNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEi(
                     context, uuid, index);
}
