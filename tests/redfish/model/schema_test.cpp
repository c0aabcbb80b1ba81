// Checks documents against the public schemas, which are not part of this repository. Skipped if
// their folder, ORVANE_REDFISH_SCHEMAS, is missing.
#include "redfish/model/errors.h"
#include "redfish/model/events.h"
#include "redfish/model/query.h"
#include "redfish/model/schemas.h"
#include "tests/redfish/model/sample_documents.h"
#include "tests/redfish/model/schema_checker.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace {

using namespace redfish::model;
using testing::ElementsAre;
using testing::IsEmpty;

std::filesystem::path schemaFolder() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread is there
    const char* const given = std::getenv("ORVANE_REDFISH_SCHEMAS");
    return given == nullptr ? ORVANE_REDFISH_SCHEMAS : given;
}

class Schemas : public testing::Test {
protected:
    void SetUp() override {
        if (!std::filesystem::is_directory(schemaFolder())) {
            GTEST_SKIP() << "no public schemas at " << schemaFolder()
                         << "; unpack the standard's CSDL files (DSP8010) there, or name their "
                            "folder in ORVANE_REDFISH_SCHEMAS";
        }
        csdl_.addFolder(schemaFolder());
        csdl_.add(webGuiCsdl());
        csdl_.add(kManagerCsdl);
    }

    std::vector<std::string> check(const Json& document) const {
        return SchemaChecker(csdl_).check(document);
    }

    Csdl csdl_;
};

TEST_F(Schemas, AreFollowedByEveryDocument) {
    int checked = 0;
    for (const auto& [address, document] : sampleDocuments()) {
        if (document.contains("@odata.type")) {
            EXPECT_THAT(check(document), IsEmpty()) << address;
            ++checked;
        }
    }
    // All but the list of versions, the OData service document and the two JSON Schemas.
    EXPECT_EQ(checked, static_cast<int>(sampleDocuments().size()) - 4);
}

TEST_F(Schemas, AreFollowedByDocumentsWhileTheProviderIsAway) {
    ServiceFacts facts = sampleFacts();
    facts.isProviderThere = false;
    facts.uuid.clear();
    for (const std::string& address : fixedAddresses()) {
        const Json document = *fixedDocument(address, facts);
        if (document.contains("@odata.type")) {
            EXPECT_THAT(check(document), IsEmpty()) << address;
        }
    }
}

TEST_F(Schemas, AreFollowedByEveryMessageAndErrorBody) {
    const SchemaChecker checker(csdl_);
    for (const MessageEntry& entry : messages()) {
        const Problem problem{entry.message, {"a", "b", "c"}, "#/Theme"};
        EXPECT_THAT(checker.check(extendedInfo(problem)), IsEmpty()) << entry.name;
        EXPECT_THAT(
            checker.checkAs(errorBody({problem, problem}), "RedfishError.v1_0_2.RedfishError"),
            IsEmpty())
            << entry.name;
    }
}

TEST_F(Schemas, AreFollowedByEvents) {
    const client::Event event{"1700000000123-0",   "ResourceUpdated", "MESSAGE", "Resource updated",
                              "Orvane.1.0.Msg000", {"WebGUI00"},      "key"};
    EXPECT_THAT(check(eventBody(event, "key")), IsEmpty());
    EXPECT_THAT(check(eventBody({"x", "Strange", "", "", "Other.1.0.X", {}, ""}, "key")),
                IsEmpty());
}

TEST_F(Schemas, AreFollowedByExpandedDocuments) {
    const auto documents = sampleDocuments();
    const Lookup lookup = [&documents](const std::string& address) -> std::optional<Json> {
        const auto found = documents.find(address);
        return found == documents.end() ? std::nullopt : std::optional<Json>(found->second);
    };
    for (const auto& [address, document] : documents) {
        if (document.contains("@odata.type")) {
            EXPECT_THAT(check(applyQuery(document, {{}, Expansion::all}, lookup)), IsEmpty())
                << address;
        }
    }
}

TEST_F(Schemas, AreAllNamedByTheMetadata) {
    const auto root = parseXml(metadata());
    std::vector<std::string> included;
    root->visit([&](const Element& each) {
        if (each.name == "Include") {
            included.push_back(each.attribute("Namespace"));
            EXPECT_TRUE(csdl_.hasNamespace(included.back())) << included.back();
        }
    });
    for (const auto& [address, document] : sampleDocuments()) {
        const Json flat = document.flatten();
        for (const auto& [pointer, value] : flat.items()) {
            if (pointer.ends_with("@odata.type") && !pointer.ends_with("properties/@odata.type")) {
                const std::string type = value.get<std::string>().substr(1);
                EXPECT_THAT(included, testing::Contains(namespaceOf(type))) << address << pointer;
            }
        }
    }
}

TEST_F(Schemas, AreThoseOfTheFilesThatTheMetadataRefersTo) {
    const auto root = parseXml(metadata());
    for (const Element* const reference : root->all("Reference")) {
        const std::string address = reference->attribute("Uri");
        const std::string file = address.substr(address.rfind('/') + 1);
        if (address.starts_with("http://redfish.dmtf.org/schemas/v1/")) {
            Csdl one;
            one.addFile(schemaFolder() / file);
            for (const Element* const include : reference->all("Include")) {
                EXPECT_TRUE(one.hasNamespace(include->attribute("Namespace")))
                    << file << " has no " << include->attribute("Namespace");
            }
        }
    }
}

// The checker itself finds each defect and nothing else.
TEST_F(Schemas, CheckerFindsEachDefect) {
    struct {
        const char* patch; // merged into the WebGUI resource
        const char* finding;
    } const defects[] = {
        {R"({"Name":null})", ": \"Name\" is required"},
        {R"({"theme":"dark"})", "/theme: the type has no such property"},
        {R"({"RoomAverage":"true"})", "/RoomAverage: \"true\" is no Edm.Boolean"},
        {R"({"ScreenBrightness":8})", "/ScreenBrightness: 8 is out of range"},
        {R"({"ScreenBrightness":0})", "/ScreenBrightness: 0 is out of range"},
        {R"({"Theme":"blue"})", "/Theme: \"blue\" is no member of \"OrvaneWebGUI.1.0.0.Theme\""},
        {R"({"BacklightOff":"Later"})", "/BacklightOff: \"Later\" is not among the allowed values"},
        {R"({"Actions":{"#WebGUI.Other":{"target":"/x"}}})",
         "/Actions/#WebGUI.Other: there is no such action"},
        {R"({"Actions":{"#Manager.Reset":{"target":"/x"}}})",
         "/Actions/#Manager.Reset: is an action of another type"},
        {R"({"Actions":{"#WebGUI.GUIReady":{"target":1}}})",
         "/Actions/#WebGUI.GUIReady: has no target"},
        {R"({"Theme@Redfish.Wrong":[]})", "/Theme@Redfish.Wrong: there is no such annotation"},
        {R"({"Other@Redfish.AllowableValues":[]})",
         "/Other@Redfish.AllowableValues: annotates a property that the type does not have"},
        {R"({"Theme@Redfish.AllowableValues":"dark"})",
         "/Theme@Redfish.AllowableValues: must be an array"},
        {R"({"@odata.id":"/redfish/v1/WebGUI"})", ": does not belong at /redfish/v1/WebGUI"},
        {R"({"@odata.type":"#OrvaneWebGUI.2.0.0.WebGUI"})",
         ": there is no type \"OrvaneWebGUI.2.0.0.WebGUI\""},
    };
    for (const auto& defect : defects) {
        Json document = webGui(sampleTree());
        document.merge_patch(Json::parse(defect.patch));
        EXPECT_THAT(check(document), ElementsAre(defect.finding)) << defect.patch;
    }
}

TEST_F(Schemas, CheckerFindsDefectsOfLinksTimesAndOemParts) {
    Json wrong = manager(sampleFacts());
    wrong["Oem"]["Orvane"]["WebGUI"] = "/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI";
    EXPECT_THAT(check(wrong), ElementsAre("/Oem/Orvane/WebGUI: is no link"));
    wrong = manager(sampleFacts());
    wrong["Oem"]["Orvane"]["Other"] = 1;
    EXPECT_THAT(check(wrong), ElementsAre("/Oem/Orvane/Other: the type has no such property"));
    wrong = manager(sampleFacts());
    wrong["Status"]["State"] = "Fine";
    EXPECT_THAT(check(wrong),
                ElementsAre("/Status/State: \"Fine\" is no member of \"Resource.State\""));
    wrong = session({"1", "admin", "Administrator", "", "yesterday"});
    EXPECT_THAT(check(wrong), ElementsAre("/CreatedTime: \"yesterday\" is no Edm.DateTimeOffset"));
    // A property of a later version than the one that the document names.
    wrong = session({"1", "admin", "Administrator", "", "2026-01-31T12:00:00Z"});
    wrong["ExpirationTime"] = "2026-01-31T12:00:00Z";
    EXPECT_THAT(check(wrong), ElementsAre("/ExpirationTime: the type has no such property"));
}

} // namespace
