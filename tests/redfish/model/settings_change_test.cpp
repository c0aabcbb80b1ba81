#include "client/names.h"
#include "redfish/model/settings_change.h"
#include "tests/redfish/model/problems.h"

#include <gmock/gmock.h>

namespace {

using redfish::model::checkActionBody;
using redfish::model::checkSettingsPatch;
using redfish::model::Json;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// A value of the JSON type of a setting.
Json jsonOf(const client::Setting& setting, std::string_view text) {
    return setting.kind == client::Kind::text ? Json(text) : Json::parse(text);
}

std::vector<std::string> problemsOf(const std::string& body) {
    return linesOf(checkSettingsPatch(body).problems);
}

TEST(SettingsPatch, TakesEveryAllowedValueOfEverySetting) {
    for (const client::Setting* const setting : redfish::model::writableSettings()) {
        std::vector<std::string_view> values(setting->allowed.begin(), setting->allowed.end());
        if (values.empty()) {
            values = {"", "any text"};
        }
        for (const std::string_view value : values) {
            const Json body{{std::string(setting->name), jsonOf(*setting, value)}};
            const auto checked = checkSettingsPatch(body.dump());
            EXPECT_THAT(linesOf(checked.problems), IsEmpty()) << body;
            EXPECT_THAT(checked.value, ElementsAre(Pair(setting->name, value)));
        }
    }
}

TEST(SettingsPatch, GivesTheChangesInTheOrderOfTheSettings) {
    const auto checked = checkSettingsPatch(
        R"({"InitialBoot":false,"Theme":"dark","ScreenBrightness":7,"Language":"Deutsch"})");
    EXPECT_THAT(checked.problems, IsEmpty());
    EXPECT_THAT(checked.value,
                ElementsAre(Pair("Language", "Deutsch"), Pair("ScreenBrightness", "7"),
                            Pair("Theme", "dark"), Pair("InitialBoot", "false")));
}

TEST(SettingsPatch, RefusesWhatTheSchemaDoesNotHave) {
    struct {
        const char* body;
        const char* line;
    } const cases[] = {
        {R"({"theme":"dark"})", "PropertyUnknown [theme] #/theme"},
        {R"({"HasAlert":"NO"})", "PropertyUnknown [HasAlert] #/HasAlert"},
        {R"({"typeId":"x"})", "PropertyUnknown [typeId] #/typeId"},
        {R"({"EventUserName":"me"})", "PropertyUnknown [EventUserName] #/EventUserName"},
        {R"({"Id":"x"})", "PropertyNotWritable [Id] #/Id"},
        {R"({"Name":"x"})", "PropertyNotWritable [Name] #/Name"},
        {R"({"Actions":{}})", "PropertyNotWritable [Actions] #/Actions"},
        {R"({"Description":"x"})", "PropertyNotWritable [Description] #/Description"},
        {R"({"Theme":"blue"})", "PropertyValueNotInList [\"blue\"] [Theme] #/Theme"},
        {R"({"Theme":"Dark"})", "PropertyValueNotInList [\"Dark\"] [Theme] #/Theme"},
        {R"({"Theme":null})", "PropertyValueTypeError [null] [Theme] #/Theme"},
        {R"({"BacklightOff":"Off After 1 Minutes"})",
         "PropertyValueNotInList [\"Off After 1 Minutes\"] [BacklightOff] #/BacklightOff"},
        {R"({"ScreenBrightness":0})",
         "PropertyValueOutOfRange [0] [ScreenBrightness] #/ScreenBrightness"},
        {R"({"ScreenBrightness":8})",
         "PropertyValueOutOfRange [8] [ScreenBrightness] #/ScreenBrightness"},
        {R"({"ScreenBrightness":"5"})",
         "PropertyValueTypeError [\"5\"] [ScreenBrightness] #/ScreenBrightness"},
        {R"({"RoomAverage":"true"})",
         "PropertyValueTypeError [\"true\"] [RoomAverage] #/RoomAverage"},
        {R"({"Language":5})", "PropertyValueTypeError [5] [Language] #/Language"},
        {R"({"Language":"a\u0000b"})",
         "PropertyValueFormatError [\"a\\u0000b\"] [Language] #/Language"},
        {R"({"Oem":{"Orvane":{}}})", "PropertyUnknown [Orvane] #/Oem/Orvane"},
        {R"({"Oem":{}})", "NoOperation"},
        {R"({"@odata.type":"#OrvaneWebGUI.1.0.0.WebGUI"})", "NoOperation"},
        {"{}", "EmptyJSON"},
        {"[]", "UnrecognizedRequestBody"},
        {"{", "MalformedJSON"},
        {R"({"Theme":"dark","Theme":"light"})", "PropertyDuplicate [Theme] #/Theme"},
    };
    for (const auto& each : cases) {
        EXPECT_THAT(problemsOf(each.body), ElementsAre(each.line)) << each.body;
    }
}

TEST(SettingsPatch, RefusesTextsThatAreTooLongForTheDatabase) {
    const std::string longest(255, 'x');
    EXPECT_THAT(problemsOf(Json{{"Language", longest}}.dump()), IsEmpty());
    EXPECT_THAT(
        problemsOf(Json{{"Language", longest + "x"}}.dump()),
        ElementsAre("StringValueTooLong [\"" + std::string(63, 'x') + "...] [255] #/Language"));
    // Bytes count, not characters.
    std::string umlauts;
    for (int i = 0; i < 128; ++i) {
        umlauts += "\xc3\xa4";
    }
    EXPECT_THAT(problemsOf(Json{{"Language", umlauts}}.dump()), testing::SizeIs(1));
}

TEST(SettingsPatch, ReportsTheProblemsOfAllProperties) {
    EXPECT_THAT(problemsOf(R"({"Theme":"blue","ScreenBrightness":9,"Id":"x","Nonsense":1,)"
                           R"("Language":"fine"})"),
                testing::UnorderedElementsAre(
                    "PropertyValueNotInList [\"blue\"] [Theme] #/Theme",
                    "PropertyValueOutOfRange [9] [ScreenBrightness] #/ScreenBrightness",
                    "PropertyNotWritable [Id] #/Id", "PropertyUnknown [Nonsense] #/Nonsense"));
}

TEST(SettingsPatch, IgnoresAnnotationsBesideAChange) {
    const auto checked =
        checkSettingsPatch(R"({"@odata.etag":"\"x\"","Theme":"dark","Oem":{"@odata.type":"#x"}})");
    EXPECT_THAT(linesOf(checked.problems), IsEmpty());
    EXPECT_THAT(checked.value, ElementsAre(Pair("Theme", "dark")));
}

TEST(ActionBody, MayBeMissingOrEmpty) {
    EXPECT_THAT(checkActionBody(client::kTurnOffLcd, ""), IsEmpty());
    EXPECT_THAT(checkActionBody(client::kTurnOffLcd, "{}"), IsEmpty());
    EXPECT_THAT(checkActionBody(client::kTurnOffLcd, R"({"@odata.id":"/"})"), IsEmpty());
}

TEST(ActionBody, RefusesParametersAndValuesThatAreNotObjects) {
    EXPECT_THAT(linesOf(checkActionBody(client::kTurnOffLcd, R"({"Now":true})")),
                ElementsAre("ActionParameterUnknown [WebGUI.TurnOffLCD] [Now] #/Now"));
    EXPECT_THAT(linesOf(checkActionBody(client::kGuiReady, "[]")),
                ElementsAre("UnrecognizedRequestBody"));
    EXPECT_THAT(linesOf(checkActionBody(client::kGuiReady, "nonsense")),
                ElementsAre("MalformedJSON"));
}

} // namespace
