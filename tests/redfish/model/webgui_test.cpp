#include "redfish/model/webgui.h"
#include "tests/redfish/model/sample_documents.h"

#include <gmock/gmock.h>

namespace {

using namespace redfish::model;

TEST(WebGui, IsCompletedFromTheStoredInstance) {
    const Json document = webGui(sampleTree());
    EXPECT_EQ(document["@odata.id"], "/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI");
    EXPECT_EQ(document["@odata.type"], "#OrvaneWebGUI.1.0.0.WebGUI");
    EXPECT_EQ(document["@odata.context"], "/redfish/v1/$metadata#OrvaneWebGUI.WebGUI");
    EXPECT_EQ(document["Id"], "WebGUI");
    EXPECT_EQ(document["Name"], "Zolan CMS Web GUI Settings");
    EXPECT_EQ(document["Language"], "English");
    EXPECT_EQ(document["ScreenBrightness"], 5);
    EXPECT_EQ(document["RoomAverage"], false);
    EXPECT_EQ(document["InitialBoot"], true);
}

TEST(WebGui, OffersItsActions) {
    const Json document = webGui(sampleTree());
    EXPECT_EQ(document["Actions"]["#WebGUI.TurnOffLCD"],
              (Json{{"target", "/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI/Actions/"
                               "WebGUI.TurnOffLCD"},
                    {"title", "This action is used to turn off the LCD."}}));
    EXPECT_EQ(document["Actions"]["#WebGUI.GUIReady"].size(), 1U);
    EXPECT_EQ(document["Actions"]["Oem"], Json::object());
}

TEST(WebGui, ListsTheAllowedValues) {
    const Json document = webGui(sampleTree());
    EXPECT_EQ(document["Theme@Redfish.AllowableValues"], (Json{"dark", "light"}));
    EXPECT_EQ(document["ScreenBrightness@Redfish.AllowableNumbers"], Json::array({"1:7"}));
    EXPECT_FALSE(document.contains("RoomAverage@Redfish.AllowableValues"));
    EXPECT_FALSE(document.contains("Language@Redfish.AllowableValues"));
}

TEST(WebGui, HidesFieldsThatAreNotProperties) {
    const std::string bytes = serialise(webGui(sampleTree()));
    for (const char* const text : {"typeId", "typeID", "EventUserName", "somebody", "80000000",
                                   "SchemaType", "Definition:"}) {
        EXPECT_EQ(bytes.find(text), std::string::npos) << text;
    }
}

TEST(WebGui, ReadsBooleansAsTheProviderDoes) {
    struct {
        const char* stored;
        bool value;
    } const cases[] = {{"true", true},    {"TRUE", true}, {"True and more", true},
                       {"false", false},  {"", false},    {"tru", false},
                       {"1", false},      {"yes", false}, {"\x54RUE", true},
                       {"\x14rue", false}};
    for (const auto& each : cases) {
        StoredWebGui tree = sampleTree();
        tree.resource["RoomAverage"] = each.stored;
        EXPECT_EQ(webGui(tree)["RoomAverage"], each.value) << each.stored;
    }
}

TEST(WebGui, OmitsMissingSettingsAndBadNumbers) {
    for (const char* const stored : {"", "abc", "5x", " 5", "99999999999999999999"}) {
        StoredWebGui tree = sampleTree();
        tree.resource["ScreenBrightness"] = stored;
        EXPECT_FALSE(webGui(tree).contains("ScreenBrightness")) << stored;
        EXPECT_FALSE(webGui(tree).contains("ScreenBrightness@Redfish.AllowableNumbers"));
    }
    StoredWebGui tree = sampleTree();
    tree.resource.erase("Theme");
    EXPECT_FALSE(webGui(tree).contains("Theme"));
}

TEST(WebGui, ShowsANumberOutOfRangeAsStored) {
    StoredWebGui tree = sampleTree();
    tree.resource["ScreenBrightness"] = "0";
    EXPECT_EQ(webGui(tree)["ScreenBrightness"], 0);
}

TEST(WebGui, HasANameAndActionsWhereTheStoreHasNone) {
    const Json document = webGui({});
    EXPECT_EQ(document["Name"], "WebGUI");
    EXPECT_FALSE(document["Actions"]["#WebGUI.TurnOffLCD"].contains("title"));
}

TEST(WebGui, ReplacesBytesThatAreNotUtf8) {
    StoredWebGui tree = sampleTree();
    tree.resource["Language"] = "\xff";
    EXPECT_NE(serialise(webGui(tree)).find("\"Language\":\"\xef\xbf\xbd\""), std::string::npos);
}

} // namespace
