#include "client/provisioning.h"

#include "client/errors.h"
#include "client/names.h"

namespace client {

namespace {

constexpr const char* kTypeId = "SchemaType:OrvaneWebGUI.1.0.0.WebGUI";
constexpr const char* kCollection = "Collection:OrvaneWebGUI.1.0.0.WebGUI";
constexpr const char* kDefinitions = "Definitions:OrvaneWebGUI.1.0.0.WebGUI";
constexpr const char* kWebGui = "Definition:OrvaneWebGUI.1.0.0.WebGUI";
constexpr const char* kActions = "Definition:OrvaneWebGUI.1.0.0.Actions";
constexpr const char* kOem = "Definition:OrvaneWebGUI.1.0.0.Oem";
constexpr const char* kTurnOff = "Definition:OrvaneWebGUI.1.0.0.TurnOffLCD";
constexpr const char* kReady = "Definition:OrvaneWebGUI.1.0.0.GUIReady";

std::vector<Definition> makeDefinitions() {
    const std::string type(kSchemaType);
    // clang-format off
    //   key              field                 value
    return {
        {kOem,            "title",              "Oem"},
        {kTurnOff,        "title",              "#WebGUI.TurnOffLCD"},
        {kReady,          "title",              "#WebGUI.GUIReady"},
        {kActions,        "title",              "Actions"},
        {kActions,        "Oem",                kOem},
        {kActions,        "#WebGUI.TurnOffLCD", kTurnOff},
        {kActions,        "#WebGUI.GUIReady",   kReady},
        {kWebGui,         "title",              "WebGUI"},
        {kWebGui,         "Actions",            kActions},
        {kDefinitions,    "WebGUI",             kWebGui},
        {kTypeId,         "title",              type},
        {kTypeId,         "instanceCollection", kCollection},
        {kTypeId,         "definitions",        kDefinitions},
        {kSchemaRegistry, "title:" + type,      kTypeId},
    };
    // clang-format on
}

} // namespace

std::vector<Definition> provision(StoreConnection& store) {
    std::vector<Definition> definitions = makeDefinitions();
    for (Definition& each : definitions) {
        const std::optional<std::string> present = store.hashField(each.key, each.field);
        if (present && *present != each.value) {
            throw StoreContents("store " + store.address().text() + ": field \"" + each.field +
                                "\" of \"" + each.key + "\" is \"" + *present + "\", not \"" +
                                each.value + "\"; the schema was provisioned by somebody else: " +
                                "leave it so, or delete that field first");
        }
        each.written = !present;
    }
    for (const Definition& each : definitions) {
        if (each.written) {
            store.command({"HSET", each.key, each.field, each.value});
        }
    }
    return definitions;
}

} // namespace client
