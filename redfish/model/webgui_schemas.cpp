// Both schemas are made once. A text with a choice of values is an enumeration in CSDL where each
// value has a meaning of its own, since those values are names; else the values are listed.
#include "redfish/model/json.h"
#include "redfish/model/schemas.h"
#include "redfish/model/settings_change.h"

#include <stdexcept>

namespace redfish::model {

namespace {

constexpr std::string_view kSettingsMark = "        <!-- settings -->\n";
constexpr std::string_view kValuesMark = "      <!-- values of settings -->\n";

std::string longDescription() {
    return "Any text of at most " + std::to_string(client::kMaxValueBytes) + " bytes of UTF-8.";
}

// ---- JSON Schema ----

Json jsonProperty(const client::Setting& setting) {
    Json property{{"description", setting.description}, {"readonly", false}};
    switch (setting.kind) {
    case client::Kind::boolean:
        property["type"] = "boolean";
        return property;
    case client::Kind::integer:
        property["type"] = "integer";
        property["minimum"] = Json::parse(setting.allowed.front());
        property["maximum"] = Json::parse(setting.allowed.back());
        return property;
    case client::Kind::text:
        break;
    }
    property["type"] = "string";
    if (setting.allowed.empty()) {
        property["maxLength"] = client::kMaxValueBytes;
        property["longDescription"] = longDescription();
    } else {
        property["enum"] = setting.allowed;
    }
    for (std::size_t i = 0; i < setting.meanings.size(); ++i) {
        property["enumDescriptions"][std::string(setting.allowed[i])] = setting.meanings[i];
    }
    return property;
}

std::string makeJsonSchema() {
    Json schema = Json::parse(kWebGuiJsonFrame);
    Json& properties = schema["definitions"]["WebGUI"]["properties"];
    for (const client::Setting* const setting : writableSettings()) {
        properties[std::string(setting->name)] = jsonProperty(*setting);
    }
    return schema.dump(4) + "\n";
}

// ---- CSDL ----

// Between the quotes of an attribute.
std::string escaped(std::string_view text) {
    std::string result;
    for (const char each : text) {
        switch (each) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += each;
        }
    }
    return result;
}

std::string annotation(std::string_view term, std::string_view value) {
    return "<Annotation Term=\"" + std::string(term) + "\" " + std::string(value) + "/>\n";
}

std::string described(std::string_view text) {
    return annotation("OData.Description", "String=\"" + escaped(text) + "\"");
}

std::string csdlType(const client::Setting& setting) {
    switch (setting.kind) {
    case client::Kind::boolean:
        return "Edm.Boolean";
    case client::Kind::integer:
        return "Edm.Int64";
    default:
        return setting.meanings.empty() ? "Edm.String"
                                        : "OrvaneWebGUI.1.0.0." + std::string(setting.name);
    }
}

std::string allowedValues(const client::Setting& setting) {
    std::string text = "          <Annotation Term=\"Validation.AllowedValues\">\n"
                       "            <Collection>\n";
    for (const std::string_view value : setting.allowed) {
        text += "              <Record>\n"
                "                <PropertyValue Property=\"Value\" String=\"";
        text += escaped(value);
        text += "\"/>\n"
                "              </Record>\n";
    }
    return text + "            </Collection>\n"
                  "          </Annotation>\n";
}

std::string csdlProperty(const client::Setting& setting) {
    const std::string indent(10, ' ');
    const bool isText = setting.kind == client::Kind::text;
    const bool isAnyText = isText && setting.allowed.empty();
    std::string text = "        <Property Name=\"" + std::string(setting.name) + "\" Type=\"" +
                       csdlType(setting) + "\"";
    if (isAnyText) {
        text += " MaxLength=\"" + std::to_string(client::kMaxValueBytes) + "\"";
    }
    text += " Nullable=\"false\">\n" + indent +
            annotation("OData.Permissions", "EnumMember=\"OData.Permission/ReadWrite\"") + indent +
            described(setting.description);
    if (isAnyText) {
        text +=
            indent + annotation("OData.LongDescription", "String=\"" + longDescription() + "\"");
    } else if (isText && setting.meanings.empty()) {
        text += allowedValues(setting);
    } else if (setting.kind == client::Kind::integer) {
        const auto bound = [](std::string_view value) {
            return "Int=\"" + std::string(value) + "\"";
        };
        text += indent + annotation("Validation.Minimum", bound(setting.allowed.front()));
        text += indent + annotation("Validation.Maximum", bound(setting.allowed.back()));
    }
    return text + "        </Property>\n";
}

std::string csdlValues(const client::Setting& setting) {
    std::string text = "      <EnumType Name=\"" + std::string(setting.name) + "\">\n";
    for (std::size_t i = 0; i < setting.meanings.size(); ++i) {
        text += "        <Member Name=\"" + std::string(setting.allowed[i]) + "\">\n          " +
                described(setting.meanings[i]) + "        </Member>\n";
    }
    return text + "      </EnumType>\n";
}

void replace(std::string& text, std::string_view mark, const std::string& by) {
    const std::size_t at = text.find(mark);
    if (at == std::string::npos) {
        throw std::logic_error("the CSDL lacks the line " + std::string(mark));
    }
    text.replace(at, mark.size(), by);
}

std::string makeCsdl() {
    std::string properties;
    std::string values;
    for (const client::Setting* const setting : writableSettings()) {
        properties += csdlProperty(*setting);
        values += setting->meanings.empty() ? std::string() : csdlValues(*setting);
    }
    std::string text(kWebGuiCsdlFrame);
    replace(text, kSettingsMark, properties);
    replace(text, kValuesMark, values);
    return text;
}

} // namespace

std::string webGuiJsonSchema() {
    static const std::string kText = makeJsonSchema();
    return kText;
}

std::string webGuiCsdl() {
    static const std::string kText = makeCsdl();
    return kText;
}

} // namespace redfish::model
