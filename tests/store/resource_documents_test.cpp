// The documents of the five instances and the type ids that they carry.
#include "store/resource_documents.h"

#include "agent/webgui_agent.h"
#include "tests/store/tree_test.h"

#include <array>

namespace {

using namespace store_test;
using doubles::context;
using testing::ElementsAre;
using testing::IsEmpty;

Calls shown(const MallocPtr<FieldValuePair[]>& document, DocumentLayout layout) {
    Calls texts;
    for (std::size_t i = 0; i < static_cast<std::size_t>(layout.count); ++i) {
        texts.push_back(std::string(document[i].name) + '=' + document[i].value);
    }
    return texts;
}

class ResourceDocumentsTest : public TreeTest {
protected:
    ResourceDocumentsTest() {
        createWebGUIAgent();
        allocateResourceDocuments();
        nameResourceDocuments();
    }
    static std::string fill() {
        std::string uuid;
        EXPECT_EQ(WebGUIPlugin_FillDocument(context(), &uuid, 7), 1);
        return uuid;
    }
    static std::string webGUIValue(const std::string& name) {
        for (const std::string& text : shown(G_ResourceDocuments.webGUI, kWebGUILayout)) {
            if (text.starts_with(name + '=')) {
                return text.substr(name.size() + 1);
            }
        }
        return "(no such field)";
    }
};

TEST_F(ResourceDocumentsTest, HaveTheirNamesInRecordOrderAndEmptyValues) {
    EXPECT_THAT(
        shown(G_ResourceDocuments.webGUI, kWebGUILayout),
        ElementsAre("@odata.context=", "@odata.id=", "@odata.type=", "ActiveAlarmScreensaver=",
                    "BacklightOff=", "DateFormat=", "Id=", "InactivityTimer=", "InitialBoot=",
                    "Language=", "MeasurementSystem=", "Name=", "ScreenBrightness=", "TimeFormat=",
                    "RoomAverage=", "HiLoPeriod=", "Theme=", "Actions=", "typeId=", "typeID="));
    EXPECT_THAT(shown(G_ResourceDocuments.actions, kActionsLayout),
                ElementsAre("Oem=", "typeID=", "#WebGUI.TurnOffLCD=", "#WebGUI.GUIReady="));
    EXPECT_THAT(shown(G_ResourceDocuments.oem, kOemLayout), ElementsAre("typeID="));
    EXPECT_THAT(shown(G_ResourceDocuments.turnOffLCD, kTurnOffLCDLayout),
                ElementsAre("title=", "target=", "typeID="));
    EXPECT_THAT(shown(G_ResourceDocuments.guiReady, kGUIReadyLayout),
                ElementsAre("target=", "typeID="));
}

TEST_F(ResourceDocumentsTest, ZeroEverythingButTheNamesWhenTheyAreNamedAgain) {
    fill();
    nameResourceDocuments();
    EXPECT_EQ(webGUIValue("Language"), "");
    EXPECT_EQ(webGUIValue("Actions"), "");
    EXPECT_STREQ(G_ResourceDocuments.guiReady[1].value, "");
}

TEST_F(ResourceDocumentsTest, CarryTheSettingsTheTypeIdsAndTheLinks) {
    EXPECT_EQ(fill(), webGUI());
    EXPECT_THAT(
        shown(G_ResourceDocuments.webGUI, kWebGUILayout),
        ElementsAre(
            "@odata.context=", "@odata.id=", "@odata.type=", "ActiveAlarmScreensaver=Enabled",
            "BacklightOff=Never", "DateFormat=YYYY-MM-DD", "Id=", "InactivityTimer=5 Minutes",
            "InitialBoot=false", "Language=English", "MeasurementSystem=Metric",
            "Name=Zolan CMS Web GUI Settings", "ScreenBrightness=5", "TimeFormat=24",
            "RoomAverage=true", "HiLoPeriod=24 Hours", "Theme=dark", "Actions=" + actions(),
            "typeId=schema-type", "typeID=webgui-type"));
    EXPECT_THAT(shown(G_ResourceDocuments.actions, kActionsLayout),
                ElementsAre("Oem=" + oem(), "typeID=actions-type",
                            "#WebGUI.TurnOffLCD=" + turnOffLCD(),
                            "#WebGUI.GUIReady=" + guiReady()));
    EXPECT_THAT(shown(G_ResourceDocuments.turnOffLCD, kTurnOffLCDLayout),
                ElementsAre("title=This action is used to turn off the LCD.",
                            "target=", "typeID=turnofflcd-type"));
    EXPECT_THAT(shown(G_ResourceDocuments.guiReady, kGUIReadyLayout),
                ElementsAre("target=", "typeID=guiready-type"));
    EXPECT_EQ(output(), "");
}

TEST_F(ResourceDocumentsTest, OfTheActionsInstanceAlwaysSucceed) {
    std::string uuid;
    EXPECT_EQ(fillActionsDocument(context(), &uuid, 0), 1);
    EXPECT_EQ(uuid, webGUI());
}

TEST_F(ResourceDocumentsTest, KeepAnEmptyTypeIdInTheOemDocument) {
    fill();
    EXPECT_THAT(shown(G_ResourceDocuments.oem, kOemLayout), ElementsAre("typeID="));
}

TEST_F(ResourceDocumentsTest, HoldTheOemTypeIdInTwoOtherDocumentsUntilTheseAreFilled) {
    std::string uuid;
    EXPECT_EQ(fillOemDocument(context(), &uuid, 0), 1);
    EXPECT_EQ(uuid, webGUI());
    EXPECT_STREQ(G_ResourceDocuments.turnOffLCD[0].value, "oem-type");
    EXPECT_STREQ(G_ResourceDocuments.guiReady[0].value, "oem-type");
    EXPECT_STREQ(G_ResourceDocuments.oem[0].value, "");
    EXPECT_EQ(fillTurnOffLCDDocument(context(), &uuid, 0), 1);
    EXPECT_EQ(uuid, actions());
    EXPECT_EQ(fillGUIReadyDocument(context(), &uuid, 0), 1);
    EXPECT_EQ(uuid, oem());
    EXPECT_STREQ(G_ResourceDocuments.turnOffLCD[0].value,
                 "This action is used to turn off the LCD.");
    EXPECT_STREQ(G_ResourceDocuments.guiReady[0].value, "");
}

TEST_F(ResourceDocumentsTest, EmptyTheFrameworksFieldsExplicitly) {
    for (const char* const name : {"@odata.context", "@odata.id", "@odata.type", "Id"}) {
        for (std::size_t i = 0; i < 20; ++i) {
            if (std::string(G_ResourceDocuments.webGUI[i].name) == name) {
                copyBounded(G_ResourceDocuments.webGUI[i].value, "left over");
            }
        }
    }
    copyBounded(G_ResourceDocuments.turnOffLCD[1].value, "left over");
    fill();
    EXPECT_EQ(webGUIValue("@odata.context"), "");
    EXPECT_EQ(webGUIValue("@odata.id"), "");
    EXPECT_EQ(webGUIValue("@odata.type"), "");
    EXPECT_EQ(webGUIValue("Id"), "");
    EXPECT_STREQ(G_ResourceDocuments.turnOffLCD[1].value, "");
}

TEST_F(ResourceDocumentsTest, ShowNumbersInDecimalAndBooleansAsWords) {
    hexStream();
    doubles::setSetting("Brightness", "0");
    doubles::setSetting("InitBoot", "TRUE");
    doubles::setSetting("RoomAverage", "yes");
    G_WebGUIAgent->reloadData(0);
    fill();
    EXPECT_EQ(webGUIValue("ScreenBrightness"), "0");
    EXPECT_EQ(webGUIValue("InitialBoot"), "true");
    EXPECT_EQ(webGUIValue("RoomAverage"), "false");
    doubles::setSetting("Brightness", "-20");
    G_WebGUIAgent->reloadData(0);
    fill();
    EXPECT_EQ(webGUIValue("ScreenBrightness"), "-20");
}

TEST_F(ResourceDocumentsTest, ReadTheThemeFromItsStorage) {
    doubles::runSql("UPDATE Misc SET Data = 'light'");
    fill();
    EXPECT_EQ(webGUIValue("Theme"), "light");
}

TEST_F(ResourceDocumentsTest, CarryEmptySettingsWhenTheDatabaseCouldNotBeRead) {
    destroyWebGUIAgent();
    doubles::database().openResult = -1;
    createWebGUIAgent();
    output();
    fill();
    EXPECT_EQ(webGUIValue("Name"), "Zolan CMS Web GUI Settings");
    EXPECT_EQ(webGUIValue("ScreenBrightness"), "0");
    EXPECT_EQ(webGUIValue("InitialBoot"), "false");
    EXPECT_EQ(webGUIValue("Language"), "");
    EXPECT_EQ(webGUIValue("Theme"), "");
}

TEST_F(ResourceDocumentsTest, HaveNoFieldForTheAlert) {
    fill();
    EXPECT_EQ(webGUIValue("HasAlert"), "(no such field)");
    EXPECT_EQ(webGUIValue("EventUserName"), "(no such field)");
}

TEST_F(ResourceDocumentsTest, CutTypeIdsTo1023Characters) {
    G_ResourceTypeIds.webGUITypeId = std::string(1100, 't');
    fill();
    EXPECT_EQ(webGUIValue("typeID"), std::string(1023, 't'));
}

TEST_F(ResourceDocumentsTest, MakeNoStoreCall) {
    fill();
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

TEST_F(ResourceDocumentsTest, SayWhichAllocationFails) {
    for (int nth = 1; nth <= 5; ++nth) {
        doubles::failAllocation(nth);
        EXPECT_FALSE(allocateResourceDocuments());
        doubles::failAllocation(0);
        freeResourceDocuments();
    }
    EXPECT_TRUE(allocateResourceDocuments());
    EXPECT_EQ(G_ResourceDocuments.webGUI[19].name[0], '\0');
}

class DefinitionTypeIds : public StoreTest {
protected:
    DefinitionTypeIds() {
        G_ResourceTypeIds = {};
        G_ResourceTypeIds.schemaTypeId = "schema-type";
        doubles::provision();
    }
};

TEST_F(DefinitionTypeIds, AreReadFromTheSchemaDefinitions) {
    EXPECT_EQ(loadDefinitionTypeIds(context()), 0);
    EXPECT_THAT(doubles::calls(),
                ElementsAre("osselGetHashField(ctx, \"schema-type\", \"definitions\")",
                            "osselGetHashField(ctx, \"definitions\", \"WebGUI\")",
                            "osselGetHashField(ctx, \"webgui-type\", \"Actions\")",
                            "osselGetHashField(ctx, \"actions-type\", \"Oem\")",
                            "osselGetHashField(ctx, \"actions-type\", \"#WebGUI.TurnOffLCD\")",
                            "osselGetHashField(ctx, \"actions-type\", \"#WebGUI.GUIReady\")"));
    EXPECT_EQ(G_ResourceTypeIds.webGUITypeId, "webgui-type");
    EXPECT_EQ(G_ResourceTypeIds.actionsTypeId, "actions-type");
    EXPECT_EQ(G_ResourceTypeIds.oemTypeId, "oem-type");
    EXPECT_EQ(G_ResourceTypeIds.turnOffLCDTypeId, "turnofflcd-type");
    EXPECT_EQ(G_ResourceTypeIds.guiReadyTypeId, "guiready-type");
    EXPECT_EQ(output(), "");
}

TEST_F(DefinitionTypeIds, FailWhenOneIsMissingButReadTheOthers) {
    doubles::hashes()["actions-type"] = {{"Oem", "oem-type"},
                                         {"#WebGUI.TurnOffLCD", "turnofflcd-type"}};
    EXPECT_EQ(loadDefinitionTypeIds(context()), 1);
    EXPECT_EQ(G_ResourceTypeIds.oemTypeId, "oem-type");
    EXPECT_EQ(G_ResourceTypeIds.turnOffLCDTypeId, "turnofflcd-type");
    EXPECT_EQ(G_ResourceTypeIds.guiReadyTypeId, "");
    EXPECT_EQ(output(), "");
}

TEST_F(DefinitionTypeIds, FailForEachOfTheSixReadsAndGoOnWithTheRest) {
    // What can still be read if the nth read fails; there is no call for an empty key.
    const std::array<std::size_t, 6> callsMade{1, 2, 3, 6, 6, 6};
    for (int nth = 1; nth <= 6; ++nth) {
        SCOPED_TRACE(nth);
        doubles::failNth("osselGetHashField", nth);
        EXPECT_EQ(loadDefinitionTypeIds(context()), 1);
        EXPECT_TRUE(doubles::failuresMet());
        EXPECT_EQ(doubles::calls().size(), callsMade.at(static_cast<std::size_t>(nth) - 1));
    }
    EXPECT_EQ(output(), "");
}

TEST_F(DefinitionTypeIds, MakeNoStoreCallWithoutASchemaType) {
    G_ResourceTypeIds.schemaTypeId.clear();
    EXPECT_EQ(loadDefinitionTypeIds(context()), 1);
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

TEST_F(DefinitionTypeIds, MakeNoStoreCallWithoutAConnection) {
    EXPECT_EQ(loadDefinitionTypeIds(nullptr), 1);
    EXPECT_THAT(doubles::calls(), IsEmpty());
}

TEST_F(DefinitionTypeIds, ReplaceWhatWasThere) {
    G_ResourceTypeIds.webGUITypeId = "old";
    G_ResourceTypeIds.guiReadyTypeId = "old";
    doubles::hashes().erase("definitions");
    EXPECT_EQ(loadDefinitionTypeIds(context()), 1);
    EXPECT_EQ(G_ResourceTypeIds.webGUITypeId, "");
    EXPECT_EQ(G_ResourceTypeIds.guiReadyTypeId, "");
}

TEST_F(DefinitionTypeIds, LeaveTheSchemasOwnIdsAlone) {
    G_ResourceTypeIds.instanceCollectionKey = "collection";
    EXPECT_EQ(loadDefinitionTypeIds(context()), 0);
    EXPECT_EQ(G_ResourceTypeIds.schemaTypeId, "schema-type");
    EXPECT_EQ(G_ResourceTypeIds.instanceCollectionKey, "collection");
}

} // namespace
