// Our own schemas are well-formed and agree with each other, with the table of settings and with
// the documents.
#include "client/names.h"
#include "redfish/model/addresses.h"
#include "redfish/model/schemas.h"
#include "redfish/model/settings_change.h"
#include "tests/redfish/model/csdl.h"
#include "tests/redfish/model/sample_documents.h"

#include <gmock/gmock.h>

#include <set>

namespace {

using namespace redfish::model;
using testing::ElementsAreArray;

constexpr const char* kType = "OrvaneWebGUI.1.0.0.WebGUI";

const Csdl& ownCsdl() {
    static const Csdl csdl = [] {
        Csdl made;
        made.add(webGuiCsdl());
        made.add(kManagerCsdl);
        return made;
    }();
    return csdl;
}

const Json& jsonProperties() {
    static const Json schema = Json::parse(webGuiJsonSchema());
    return schema["definitions"]["WebGUI"]["properties"];
}

const Element* csdlProperty(std::string_view name) {
    for (const Element* const each : ownCsdl().find(kType)->all("Property")) {
        if (each->attribute("Name") == name) {
            return each;
        }
    }
    return nullptr;
}

// The values that the CSDL allows for a text.
std::vector<std::string> csdlValues(const Element& property) {
    std::vector<std::string> values;
    if (const Element* const type = ownCsdl().find(property.attribute("Type"))) {
        for (const Element* const each : type->all("Member")) {
            values.push_back(each->attribute("Name"));
        }
    } else if (const Element* const allowed = property.annotation("Validation.AllowedValues")) {
        allowed->visit([&values](const Element& each) {
            if (each.name == "PropertyValue") {
                values.push_back(each.attribute("String"));
            }
        });
    }
    return values;
}

std::vector<std::string> jsonValues(const Json& property) {
    return property.value("enum", std::vector<std::string>());
}

std::string descriptionOf(const Element& element) {
    const Element* const description = element.annotation("OData.Description");
    return description == nullptr ? std::string() : description->attribute("String");
}

TEST(OwnSchemas, HaveEverySettingThatCanBeWrittenAndNoOther) {
    std::set<std::string> settings;
    for (const client::Setting* const setting : writableSettings()) {
        settings.emplace(setting->name);
    }
    std::set<std::string> inCsdl;
    for (const Element* const each : ownCsdl().find(kType)->all("Property")) {
        if (each->annotation("OData.Permissions")->attribute("EnumMember") ==
            "OData.Permission/ReadWrite") {
            inCsdl.insert(each->attribute("Name"));
        }
    }
    std::set<std::string> inJson;
    for (const auto& [name, property] : jsonProperties().items()) {
        if (!property.at("readonly").get<bool>()) {
            inJson.insert(name);
        }
    }
    EXPECT_EQ(inCsdl, settings);
    EXPECT_EQ(inJson, settings);
}

TEST(OwnSchemas, HaveTheTypesAndValuesOfTheSettings) {
    for (const client::Setting* const setting : writableSettings()) {
        const Element& csdl = *csdlProperty(setting->name);
        const Json& json = jsonProperties().at(std::string(setting->name));
        const std::vector<std::string> allowed(setting->allowed.begin(), setting->allowed.end());
        EXPECT_EQ(csdl.attribute("Nullable"), "false") << setting->name;
        switch (setting->kind) {
        case client::Kind::boolean:
            EXPECT_EQ(csdl.attribute("Type"), "Edm.Boolean") << setting->name;
            EXPECT_EQ(json.at("type"), "boolean") << setting->name;
            break;
        case client::Kind::integer:
            EXPECT_EQ(csdl.attribute("Type"), "Edm.Int64") << setting->name;
            EXPECT_EQ(csdl.annotation("Validation.Minimum")->attribute("Int"), allowed.front());
            EXPECT_EQ(csdl.annotation("Validation.Maximum")->attribute("Int"), allowed.back());
            EXPECT_EQ(json.at("type"), "integer") << setting->name;
            EXPECT_EQ(json.at("minimum").dump(), allowed.front());
            EXPECT_EQ(json.at("maximum").dump(), allowed.back());
            break;
        case client::Kind::text:
            EXPECT_EQ(json.at("type"), "string") << setting->name;
            EXPECT_THAT(csdlValues(csdl), ElementsAreArray(allowed)) << setting->name;
            EXPECT_THAT(jsonValues(json), ElementsAreArray(allowed)) << setting->name;
            break;
        }
    }
}

TEST(OwnSchemas, DescribeTheSettingsInTheWordsOfTheTable) {
    for (const client::Setting* const setting : writableSettings()) {
        EXPECT_EQ(descriptionOf(*csdlProperty(setting->name)), setting->description);
        EXPECT_FALSE(setting->description.empty()) << setting->name;
    }
}

TEST(OwnSchemas, KeepNoSettingInTheirFrames) {
    for (const client::Setting* const setting : writableSettings()) {
        const std::string name = "\"" + std::string(setting->name) + "\"";
        EXPECT_EQ(kWebGuiCsdlFrame.find(name), std::string_view::npos) << name;
        EXPECT_EQ(kWebGuiJsonFrame.find(name), std::string_view::npos) << name;
    }
}

TEST(OwnSchemas, LimitTextsThatMayBeAnything) {
    for (const client::Setting* const setting : writableSettings()) {
        if (setting->kind == client::Kind::text && setting->allowed.empty()) {
            EXPECT_EQ(csdlProperty(setting->name)->attribute("Type"), "Edm.String");
            EXPECT_EQ(csdlProperty(setting->name)->attribute("MaxLength"),
                      std::to_string(client::kMaxValueBytes));
            EXPECT_EQ(jsonProperties().at(std::string(setting->name)).at("maxLength"),
                      client::kMaxValueBytes);
        }
    }
}

// The model checks numbers by their range, so the allowed values must have no gaps.
TEST(OwnSchemas, RangesHaveNoGaps) {
    for (const client::Setting* const setting : writableSettings()) {
        if (setting->kind == client::Kind::integer) {
            int next = std::stoi(std::string(setting->allowed.front()));
            for (const std::string_view value : setting->allowed) {
                EXPECT_EQ(value, std::to_string(next++)) << setting->name;
            }
        }
    }
}

TEST(OwnSchemas, DescribeEverythingInTheSameWords) {
    for (const Element* const each : ownCsdl().find(kType)->all("Property")) {
        const std::string name = each->attribute("Name");
        EXPECT_TRUE(descriptionOf(*each).ends_with(".")) << name;
        EXPECT_EQ(jsonProperties().at(name).at("description"), descriptionOf(*each)) << name;
    }
    for (const auto& [name, property] : jsonProperties().items()) {
        EXPECT_FALSE(property.at("description").get<std::string>().empty()) << name;
    }
    for (const char* const type : {"MeasurementSystem", "Theme"}) {
        for (const Element* const member :
             ownCsdl().find(std::string("OrvaneWebGUI.1.0.0.") + type)->all("Member")) {
            EXPECT_EQ(
                jsonProperties().at(type).at("enumDescriptions").at(member->attribute("Name")),
                descriptionOf(*member));
        }
    }
}

TEST(OwnSchemas, DescribeTheActionsInTheSameWords) {
    const Json schema = Json::parse(webGuiJsonSchema());
    for (const char* const name : {"TurnOffLCD", "GUIReady"}) {
        const Element* const action = ownCsdl().find(std::string("WebGUI.") + name);
        ASSERT_NE(action, nullptr) << name;
        EXPECT_EQ(schema["definitions"][name]["description"], descriptionOf(*action));
        EXPECT_EQ(schema["definitions"]["Actions"]["properties"].at(std::string("#WebGUI.") + name),
                  (Json{{"$ref", std::string("#/definitions/") + name}}));
    }
    const Json offered = webGui(sampleTree())["Actions"];
    for (const char* const action : {client::kTurnOffLcd, client::kGuiReady}) {
        EXPECT_TRUE(offered.contains(std::string("#") + action)) << action;
        EXPECT_TRUE(offered["#" + std::string(action)]["target"].get<std::string>().ends_with(
            std::string("/Actions/") + action));
    }
}

TEST(OwnSchemas, HaveEveryPropertyOfTheDocument) {
    const Json document = webGui(sampleTree());
    for (const auto& [name, value] : document.items()) {
        if (name.find("@Redfish.") == std::string::npos) {
            EXPECT_TRUE(jsonProperties().contains(name)) << name;
        }
    }
}

TEST(OwnSchemas, BearTheNamesUnderWhichTheyAreServed) {
    const Json webGuiSchema = Json::parse(webGuiJsonSchema());
    EXPECT_EQ(webGuiSchema["$id"], kWebGuiSchema);
    EXPECT_EQ(webGuiSchema["title"], client::kSchemaType);
    EXPECT_EQ(webGuiSchema["title"], webGuiSchemaFile()["Schema"]);
    EXPECT_EQ(jsonProperties()["@odata.type"]["const"], client::kSchemaType);
    const Json managerSchema = Json::parse(kManagerJsonSchema);
    EXPECT_EQ(managerSchema["$id"], kManagerSchema);
    EXPECT_EQ(managerSchema["title"], managerSchemaFile()["Schema"]);
    EXPECT_EQ(managerSchema["title"], manager(sampleFacts())["Oem"]["Orvane"]["@odata.type"]);
}

TEST(OwnSchemas, OfTheManagerAgree) {
    const Element* const type = ownCsdl().find("OrvaneManager.v1_0_0.Orvane");
    ASSERT_NE(type, nullptr);
    const Json properties = Json::parse(kManagerJsonSchema)["definitions"]["Orvane"]["properties"];
    EXPECT_EQ(properties.size(), type->all("NavigationProperty").size());
    for (const Element* const each : type->all("NavigationProperty")) {
        EXPECT_EQ(properties.at(each->attribute("Name")).at("description"), descriptionOf(*each));
    }
}

TEST(OwnSchemas, LeadToDefinitionsThatAreThere) {
    for (const std::string& text : {webGuiJsonSchema(), std::string(kManagerJsonSchema)}) {
        const Json schema = Json::parse(text);
        const Json flat = schema.flatten();
        for (const auto& [pointer, value] : flat.items()) {
            if (pointer.ends_with("/$ref")) {
                EXPECT_TRUE(schema.contains(Json::json_pointer(value.get<std::string>().substr(1))))
                    << value;
            }
        }
    }
}

} // namespace
