// Walks a document and its types side by side.
#include "tests/redfish/model/schema_checker.h"

#include <algorithm>
#include <regex>

namespace {

using nlohmann::json;

constexpr std::string_view kCollection = "Collection(";

// The type of the elements; empty for a type that is not a collection.
std::string elementTypeOf(const std::string& type) {
    return type.starts_with(kCollection)
               ? type.substr(kCollection.size(), type.size() - kCollection.size() - 1)
               : std::string();
}

std::string below(const std::string& place, const std::string& name) {
    std::string inner = place;
    inner += "/";
    inner += name;
    return inner;
}

bool isTrue(const Element* annotation) {
    return annotation != nullptr && annotation->attribute("Bool") != "false";
}

// The value of a "PropertyValue" of each record below an annotation.
std::vector<std::string> valuesIn(const Element& annotation, const std::string& property) {
    std::vector<std::string> values;
    annotation.visit([&](const Element& each) {
        if (each.name == "PropertyValue" && each.attribute("Property") == property) {
            values.push_back(each.attribute("String"));
        }
    });
    return values;
}

class Walk {
public:
    Walk(const Csdl& csdl, std::vector<std::string>& findings) : csdl_(csdl), findings_(findings) {}

    void object(const json& value, const std::string& declared, const std::string& place) {
        const std::string type = typeOf(value, declared, place);
        const auto types = csdl_.chain(type);
        if (types.empty()) {
            report(place, "there is no type \"" + type + "\"");
            return;
        }
        if (types.front()->attribute("Abstract") == "true") {
            report(place, "the type \"" + type + "\" is abstract");
        }
        for (const auto& [name, member] : value.items()) {
            this->member(types, type, name, member, below(place, name));
        }
        requireAll(types, value, place);
        if (value.contains("@odata.id") && value.contains("Name")) {
            address(types, value["@odata.id"], place);
        }
    }

private:
    using Types = std::vector<const Element*>;

    void report(const std::string& place, const std::string& text) {
        findings_.push_back(place + ": " + text);
    }

    // The type that the object names, else the declared one in the version of its surroundings.
    std::string typeOf(const json& value, const std::string& declared, const std::string& place) {
        if (!value.contains("@odata.type")) {
            return csdl_.newestOf(declared, within_);
        }
        const auto named = value["@odata.type"].get<std::string>();
        if (!named.starts_with("#")) {
            report(place, "the type \"" + named + "\" does not begin with #");
        }
        std::string type = named.substr(1);
        if (!declared.empty() && !csdl_.isDerived(type, declared)) {
            report(place, "\"" + type + "\" is no \"" + declared + "\"");
        }
        if (within_.empty()) {
            within_ = namespaceOf(type);
        }
        return type;
    }

    static const Element* propertyOf(const Types& types, const std::string& name) {
        for (const Element* const type : types) {
            for (const Element* const each : type->all("")) {
                if (each->name.ends_with("Property") && each->attribute("Name") == name) {
                    return each;
                }
            }
        }
        return nullptr;
    }

    void requireAll(const Types& types, const json& value, const std::string& place) {
        for (const Element* const type : types) {
            for (const Element* const each : type->all("")) {
                const std::string name = each->attribute("Name");
                if (each->annotation("Redfish.Required") != nullptr && !value.contains(name)) {
                    report(place, "\"" + name + "\" is required");
                }
            }
        }
    }

    void member(const Types& types, const std::string& type, const std::string& name,
                const json& value, const std::string& place) {
        if (name.find('@') != std::string::npos) {
            annotation(types, name, value, place);
        } else if (name.starts_with("#")) {
            action(type, name.substr(1), value, place);
        } else if (const Element* const property = propertyOf(types, name)) {
            if (value.is_null()) {
                if (property->attribute("Nullable") == "false") {
                    report(place, "must not be null");
                }
                return;
            }
            valueOf(*property, property->attribute("Type"), value, place);
        } else {
            dynamic(types, name, value, place);
        }
    }

    // A property without a name in the schema, which a pattern may still allow.
    void dynamic(const Types& types, const std::string& name, const json& value,
                 const std::string& place) {
        for (const Element* const type : types) {
            const Element* const patterns = type->annotation("Redfish.DynamicPropertyPatterns");
            if (patterns != nullptr &&
                std::regex_match(name, std::regex(valuesIn(*patterns, "Pattern").at(0)))) {
                object(value, valuesIn(*patterns, "Type").at(0), place);
                return;
            }
        }
        if (types.front()->annotation("OData.AdditionalProperties") == nullptr ||
            !isTrue(types.front()->annotation("OData.AdditionalProperties"))) {
            report(place, "the type has no such property");
        }
    }

    void annotation(const Types& types, const std::string& name, const json& value,
                    const std::string& place) {
        const std::size_t at = name.find('@');
        const std::string base = name.substr(0, at);
        const std::string term = name.substr(at + 1);
        if (!base.empty() && propertyOf(types, base) == nullptr) {
            report(place, "annotates a property that the type does not have");
        }
        if (term.starts_with("odata.")) {
            odata(base, term, value, place);
            return;
        }
        const std::string space =
            term.starts_with("Redfish.") ? "RedfishExtensions.v1_0_0." + term.substr(8) : term;
        const Element* const found = csdl_.find(space);
        if (found == nullptr || found->name != "Term") {
            report(place, "there is no such annotation");
            return;
        }
        valueOf(*found, found->attribute("Type"), value, place);
    }

    void odata(const std::string& base, const std::string& term, const json& value,
               const std::string& place) {
        const bool isCount = term == "odata.count";
        if (!isCount && term != "odata.id" && term != "odata.type" && term != "odata.context" &&
            term != "odata.etag") {
            report(place, "there is no such annotation");
        }
        if (isCount ? base.empty() || !value.is_number_unsigned() : !value.is_string()) {
            report(place, "has the wrong type");
        }
    }

    // An action must be bound to the type of the object that offers it.
    void action(const std::string& type, const std::string& name, const json& value,
                const std::string& place) {
        const Element* const found = csdl_.find(name);
        if (found == nullptr || found->name != "Action") {
            report(place, "there is no such action");
            return;
        }
        if (!csdl_.isDerived(type, found->all("Parameter").at(0)->attribute("Type"))) {
            report(place, "is an action of another type");
        }
        if (!value.is_object() || !value.contains("target") || !value["target"].is_string()) {
            report(place, "has no target");
            return;
        }
        for (const auto& [key, each] : value.items()) {
            const bool isAnnotation = key.find("@Redfish.") != std::string::npos;
            if (!isAnnotation && ((key != "target" && key != "title") || !each.is_string())) {
                report(below(place, key), "does not belong to an action");
            }
        }
    }

    void valueOf(const Element& property, const std::string& type, const json& value,
                 const std::string& place) {
        const std::string element = elementTypeOf(type);
        if (!element.empty()) {
            if (!value.is_array()) {
                report(place, "must be an array");
                return;
            }
            for (std::size_t i = 0; i < value.size(); ++i) {
                valueOf(property, element, value[i], below(place, std::to_string(i)));
            }
            return;
        }
        const bool isExpanded = isTrue(property.annotation("OData.AutoExpand"));
        if (property.name == "NavigationProperty" && !isExpanded) {
            link(value, place);
        } else if (type.starts_with("Edm.")) {
            simple(property, type, value, place);
        } else {
            named(property, type, value, place);
        }
    }

    // A link, or the resource that it leads to in its place.
    void link(const json& value, const std::string& place) {
        if (!value.is_object() || !value.contains("@odata.id") || !value["@odata.id"].is_string()) {
            report(place, "is no link");
        } else if (value.size() > 1) {
            Walk(csdl_, findings_).object(value, "", place);
        }
    }

    void named(const Element& property, const std::string& type, const json& value,
               const std::string& place) {
        const Element* const found = csdl_.find(csdl_.newestOf(type, within_));
        if (found == nullptr) {
            report(place, "the type \"" + type + "\" is in no file");
        } else if (found->name == "EnumType") {
            const auto members = found->all("Member");
            if (std::none_of(members.begin(), members.end(), [&](const Element* each) {
                    return value == each->attribute("Name");
                })) {
                report(place, value.dump() + " is no member of \"" + type + "\"");
            }
        } else if (found->name == "TypeDefinition") {
            simple(property, found->attribute("UnderlyingType"), value, place);
        } else if (value.is_object()) {
            object(value, type, place);
        } else {
            report(place, "must be an object");
        }
    }

    void simple(const Element& property, const std::string& type, const json& value,
                const std::string& place) {
        static const std::map<std::string, bool (*)(const json&)> kKinds{
            {"Edm.String", [](const json& each) { return each.is_string(); }},
            {"Edm.Boolean", [](const json& each) { return each.is_boolean(); }},
            {"Edm.Int64", [](const json& each) { return each.is_number_integer(); }},
            {"Edm.DateTimeOffset", [](const json& each) { return matches(each, kTime); }},
            {"Edm.Guid", [](const json& each) { return matches(each, kGuid); }},
        };
        const auto kind = kKinds.find(type);
        if (kind == kKinds.end() || !kind->second(value)) {
            report(place, value.dump() + " is no " + type);
            return;
        }
        limits(property, value, place);
    }

    void limits(const Element& property, const json& value, const std::string& place) {
        const Element* const least = property.annotation("Validation.Minimum");
        const Element* const most = property.annotation("Validation.Maximum");
        if ((least != nullptr && value < std::stoll(least->attribute("Int"))) ||
            (most != nullptr && value > std::stoll(most->attribute("Int")))) {
            report(place, value.dump() + " is out of range");
        }
        const Element* const allowed = property.annotation("Validation.AllowedValues");
        if (allowed != nullptr) {
            const auto values = valuesIn(*allowed, "Value");
            const auto isValue = [&value](const std::string& each) { return value == json(each); };
            if (std::none_of(values.begin(), values.end(), isValue)) {
                report(place, value.dump() + " is not among the allowed values");
            }
        }
        const std::string longest = property.attribute("MaxLength");
        if (!longest.empty() && value.get<std::string>().size() > std::stoul(longest)) {
            report(place, "is too long");
        }
    }

    // The resource must lie where its schema says.
    void address(const Types& types, const std::string& where, const std::string& place) {
        for (const Element* const type : types) {
            const Element* const patterns = type->annotation("Redfish.Uris");
            if (patterns == nullptr) {
                continue;
            }
            bool isThere = false;
            patterns->visit([&](const Element& each) {
                if (each.name == "String") {
                    const std::string pattern = std::regex_replace(
                        each.attribute(""), std::regex("\\{[A-Za-z0-9]+\\}"), "[^/]+");
                    isThere = isThere || std::regex_match(where, std::regex(pattern + "/?"));
                }
            });
            if (!isThere) {
                report(place, "does not belong at " + where);
            }
        }
    }

    static bool matches(const json& value, const char* pattern) {
        return value.is_string() && std::regex_match(value.get<std::string>(), std::regex(pattern));
    }

    static constexpr const char* kTime =
        R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?(Z|[+-]\d\d:\d\d))";
    static constexpr const char* kGuid =
        "[0-9a-fA-F]{8}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{12}";

    const Csdl& csdl_;
    std::vector<std::string>& findings_;
    std::string within_; // namespace of the resource that is walked
};

} // namespace

std::vector<std::string> SchemaChecker::check(const json& document) const {
    std::vector<std::string> findings;
    if (!document.contains("@odata.type")) {
        return {": names no type"};
    }
    Walk(csdl_, findings).object(document, "", "");
    return findings;
}

std::vector<std::string> SchemaChecker::checkAs(const json& object, const std::string& type) const {
    std::vector<std::string> findings;
    Walk(csdl_, findings).object(object, type, "");
    return findings;
}
