#include "redfish/model/query.h"
#include "tests/redfish/model/problems.h"
#include "tests/redfish/model/sample_documents.h"

#include <gmock/gmock.h>

namespace {

using namespace redfish::model;
using testing::ElementsAre;
using testing::IsEmpty;

using Parameters = std::vector<std::pair<std::string, std::string>>;

std::optional<Json> lookUp(const std::string& address) {
    const auto documents = sampleDocuments();
    const auto found = documents.find(address);
    return found == documents.end() ? std::nullopt : std::optional<Json>(found->second);
}

Json apply(const Json& document, const Parameters& parameters) {
    const auto query = checkQuery(parameters);
    EXPECT_THAT(linesOf(query.problems), IsEmpty());
    return applyQuery(document, query.value, lookUp);
}

TEST(CheckQuery, TakesEverySpelling) {
    EXPECT_TRUE(checkQuery({}).value.isPlain());
    EXPECT_THAT(checkQuery({{"$select", "Theme,Actions/Oem"}}).value.selected,
                ElementsAre("Theme", "Actions/Oem"));
    for (const auto& [text, expansion] : {std::pair{".", Expansion::noLinks},
                                          {"~", Expansion::links},
                                          {"*", Expansion::all},
                                          {".($levels=1)", Expansion::noLinks},
                                          {"*($levels=01)", Expansion::all}}) {
        const auto query = checkQuery({{"$expand", text}});
        EXPECT_THAT(linesOf(query.problems), IsEmpty()) << text;
        EXPECT_EQ(query.value.expansion, expansion) << text;
        EXPECT_FALSE(query.value.isPlain());
    }
}

TEST(CheckQuery, RefusesInvalidValues) {
    struct {
        Parameters parameters;
        const char* line;
        int status;
    } const cases[] = {
        {{{"$select", ""}}, "QueryParameterValueFormatError [\"\"] [$select]", 400},
        {{{"$select", "a,,b"}}, "QueryParameterValueFormatError [\"a,,b\"] [$select]", 400},
        {{{"$select", "/a"}}, "QueryParameterValueFormatError [\"/a\"] [$select]", 400},
        {{{"$select", "a/"}}, "QueryParameterValueFormatError [\"a/\"] [$select]", 400},
        {{{"$select", "a b"}}, "QueryParameterValueFormatError [\"a b\"] [$select]", 400},
        {{{"$select", "a"}, {"$select", "b"}},
         "QueryParameterValueFormatError [\"b\"] [$select]",
         400},
        {{{"$expand", ""}}, "QueryParameterValueFormatError [\"\"] [$expand]", 400},
        {{{"$expand", "x"}}, "QueryParameterValueFormatError [\"x\"] [$expand]", 400},
        {{{"$expand", ".("}}, "QueryParameterValueFormatError [\".(\"] [$expand]", 400},
        {{{"$expand", "..."}}, "QueryParameterValueFormatError [\"...\"] [$expand]", 400},
        {{{"$expand", ".()"}}, "QueryParameterValueFormatError [\".()\"] [$expand]", 400},
        {{{"$expand", ".($levels=)"}},
         "QueryParameterValueFormatError [\".($levels=)\"] [$expand]",
         400},
        {{{"$expand", ".($levels=1"}},
         "QueryParameterValueFormatError [\".($levels=1\"] [$expand]",
         400},
        {{{"$expand", ".($levels=1x)"}},
         "QueryParameterValueFormatError [\".($levels=1x)\"] [$expand]",
         400},
        {{{"$expand", ".($levels=-1)"}},
         "QueryParameterValueFormatError [\".($levels=-1)\"] [$expand]",
         400},
        {{{"$expand", ".($levels=0)"}}, "QueryParameterOutOfRange [0] [$levels] [1]", 400},
        {{{"$expand", ".($levels=2)"}}, "QueryParameterOutOfRange [2] [$levels] [1]", 400},
        {{{"$expand", ".($levels=99999999999)"}},
         "QueryParameterOutOfRange [99999999999] [$levels] [1]",
         400},
        {{{"$filter", "x"}}, "QueryParameterUnsupported [$filter]", 501},
        {{{"$top", "1"}}, "QueryParameterUnsupported [$top]", 501},
        {{{"only", ""}}, "QueryParameterUnsupported [only]", 501},
        {{{"excerpt", ""}}, "QueryParameterUnsupported [excerpt]", 501},
    };
    for (const auto& each : cases) {
        const Problems problems = checkQuery(each.parameters).problems;
        EXPECT_THAT(linesOf(problems), ElementsAre(each.line));
        EXPECT_EQ(statusOf(problems), each.status) << each.line;
    }
}

TEST(CheckQuery, IgnoresNamesThatTheProtocolDoesNotDefine) {
    EXPECT_THAT(checkQuery({{"time", "1"}, {"time", "2"}}).problems, IsEmpty());
}

TEST(Select, KeepsSelectedAndIdentifyingMembers) {
    EXPECT_EQ(serialise(apply(webGui(sampleTree()), {{"$select", "Language,RoomAverage"}})),
              R"({"@odata.context":"/redfish/v1/$metadata#OrvaneWebGUI.WebGUI",)"
              R"("@odata.id":"/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI",)"
              R"("@odata.type":"#OrvaneWebGUI.1.0.0.WebGUI","Language":"English",)"
              R"("RoomAverage":false})");
}

TEST(Select, KeepsTheAnnotationsOfWhatIsSelected) {
    const Json document = apply(webGui(sampleTree()), {{"$select", "Theme"}});
    EXPECT_TRUE(document.contains("Theme@Redfish.AllowableValues"));
    EXPECT_FALSE(document.contains("BacklightOff@Redfish.AllowableValues"));
}

TEST(Select, GoesIntoObjects) {
    const Json document = apply(webGui(sampleTree()), {{"$select", "Actions/#WebGUI.GUIReady"}});
    EXPECT_EQ(document["Actions"].size(), 1U);
    EXPECT_TRUE(document["Actions"]["#WebGUI.GUIReady"].contains("target"));
    EXPECT_FALSE(document.contains("Name"));
}

TEST(Select, IgnoresWhatTheDocumentDoesNotHave) {
    const Json document =
        apply(webGui(sampleTree()), {{"$select", "Nothing,Theme/Deeper,The,ActionsxOem"}});
    EXPECT_EQ(document.size(), 3U);
}

TEST(Select, AppliesToTheMembersOfAnExpandedCollection) {
    const Json document =
        apply(roleCollection(), {{"$expand", "."}, {"$select", "AssignedPrivileges"}});
    EXPECT_EQ(document["Members@odata.count"], 3);
    for (const Json& member : document["Members"]) {
        EXPECT_TRUE(member.contains("AssignedPrivileges"));
        EXPECT_TRUE(member.contains("@odata.id"));
        EXPECT_FALSE(member.contains("Name"));
    }
    EXPECT_EQ(apply(roleCollection(), {{"$select", "Members"}})["Members"].size(), 3U);
}

TEST(Expand, FollowsTheRequestedLinks) {
    struct {
        const char* text;
        bool hasOthers;
        bool hasLinks;
    } const cases[] = {{".", true, false}, {"~", false, true}, {"*", true, true}};
    for (const auto& each : cases) {
        const Json document = apply(serviceRoot(sampleFacts()), {{"$expand", each.text}});
        EXPECT_EQ(document["Managers"].contains("Members"), each.hasOthers) << each.text;
        EXPECT_EQ(document["Links"]["Sessions"].contains("Members"), each.hasLinks) << each.text;
    }
}

TEST(Expand, GoesOneLevelDeep) {
    const Json document = apply(serviceRoot(sampleFacts()), {{"$expand", "*"}});
    EXPECT_EQ(document["Managers"]["Members"][0].size(), 1U);
}

TEST(Expand, LeavesALinkThatLeadsNowhere) {
    const Json document = applyQuery(managers(), {{}, Expansion::all},
                                     [](const std::string&) { return std::nullopt; });
    EXPECT_EQ(document, managers());
}

TEST(Expand, FollowsLinksInsideOfOemParts) {
    const Json document = apply(manager(sampleFacts()), {{"$expand", "."}});
    EXPECT_EQ(document["Oem"]["Orvane"]["WebGUI"]["Theme"], "light");
}

} // namespace
