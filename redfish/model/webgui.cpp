#include "redfish/model/webgui.h"

#include "client/names.h"
#include "redfish/model/addresses.h"
#include "redfish/model/settings_change.h"

#include <charconv>
#include <string_view>
#include <utility>

namespace redfish::model {

namespace {

std::string_view fieldOf(const Fields& fields, std::string_view name) {
    const auto field = fields.find(std::string(name));
    return field == fields.end() ? std::string_view() : std::string_view(field->second);
}

bool beginsWithTrue(std::string_view text) {
    constexpr std::string_view kTrue = "true";
    if (text.size() < kTrue.size()) {
        return false;
    }
    for (std::size_t i = 0; i < kTrue.size(); ++i) {
        // This bit tells the cases of an ASCII letter apart.
        if ((static_cast<unsigned char>(text[i]) | 0x20U) != static_cast<unsigned char>(kTrue[i])) {
            return false;
        }
    }
    return true;
}

// Null for an integer that is not one.
Json valueOf(client::Kind kind, std::string_view text) {
    if (kind == client::Kind::boolean) {
        return beginsWithTrue(text);
    }
    if (kind == client::Kind::text) {
        return text;
    }
    std::int64_t number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    return failure == std::errc() && end == text.data() + text.size() ? Json(number) : Json();
}

// Lists the allowed values beside the value.
void addChoice(Json& document, const client::Setting& setting) {
    const std::string name(setting.name);
    if (setting.allowed.empty() || setting.kind == client::Kind::boolean) {
        return;
    }
    if (setting.kind == client::Kind::integer) {
        document[name + "@Redfish.AllowableNumbers"] = Json::array(
            {std::string(setting.allowed.front()) + ":" + std::string(setting.allowed.back())});
        return;
    }
    document[name + "@Redfish.AllowableValues"] = setting.allowed;
}

Json action(std::string_view target, const Fields& stored) {
    Json action{{"target", target}};
    if (const std::string_view title = fieldOf(stored, "title"); !title.empty()) {
        action["title"] = title;
    }
    return action;
}

} // namespace

Json webGui(const StoredWebGui& stored) {
    Json document{{"@odata.context", std::string(kMetadata) + "#OrvaneWebGUI.WebGUI"},
                  {"@odata.id", kWebGui},
                  {"@odata.type", client::kSchemaType},
                  {"Id", "WebGUI"},
                  {"Name", "WebGUI"},
                  {"Description", "The settings of the panel's web GUI."}};
    if (const std::string_view name = fieldOf(stored.resource, "Name"); !name.empty()) {
        document["Name"] = name;
    }
    for (const client::Setting* const setting : writableSettings()) {
        const auto field = stored.resource.find(std::string(setting->name));
        if (field == stored.resource.end()) {
            continue;
        }
        Json value = valueOf(setting->kind, field->second);
        if (!value.is_null()) {
            document[std::string(setting->name)] = std::move(value);
            addChoice(document, *setting);
        }
    }
    document["Actions"] = {{"#WebGUI.TurnOffLCD", action(kTurnOffLcdTarget, stored.turnOffLcd)},
                           {"#WebGUI.GUIReady", action(kGuiReadyTarget, stored.guiReady)},
                           {"Oem", Json::object()}};
    return document;
}

} // namespace redfish::model
