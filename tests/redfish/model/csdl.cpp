// Parses CSDL into a tree with expat, and finds types in it.
#include "tests/redfish/model/csdl.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <expat.h>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>

namespace {

std::string withoutPrefix(const std::string& name) {
    const std::size_t colon = name.find(':');
    return colon == std::string::npos ? name : name.substr(colon + 1);
}

// From 2.9 on, expat calls the only one that Debian 12 has deprecated.
std::string currentLine(XML_Parser parser) {
#if XML_MAJOR_VERSION > 2 || (XML_MAJOR_VERSION == 2 && XML_MINOR_VERSION >= 9)
    return std::to_string(XML_GetCurrentLineNumber64(parser));
#else
    return std::to_string(XML_GetCurrentLineNumber(parser));
#endif
}

struct Builder {
    Element root;
    std::vector<Element*> open{&root};

    static void begin(void* self, const XML_Char* name, const XML_Char** attributes) {
        auto* const builder = static_cast<Builder*>(self);
        auto element = std::make_unique<Element>();
        element->name = withoutPrefix(name);
        for (; *attributes != nullptr; attributes += 2) {
            element->attributes[attributes[0]] = attributes[1];
        }
        Element* const added = element.get();
        builder->open.back()->children.push_back(std::move(element));
        builder->open.push_back(added);
    }

    static void end(void* self, const XML_Char* /*name*/) {
        static_cast<Builder*>(self)->open.pop_back();
    }

    // The text of an element is stored as its attribute "".
    static void text(void* self, const XML_Char* letters, int count) {
        auto* const builder = static_cast<Builder*>(self);
        builder->open.back()->attributes[""].append(letters, static_cast<std::size_t>(count));
    }
};

// Family, version and name: "Manager", {1, 5, 0}, "Links".
struct Versioned {
    std::string family;
    std::array<int, 3> version{};
    std::string name;
};

std::optional<Versioned> versionedOf(const std::string& type) {
    const std::string space = namespaceOf(type);
    const std::size_t dot = space.rfind(".v");
    if (dot == std::string::npos) {
        return std::nullopt;
    }
    Versioned result{space.substr(0, dot), {}, lastPartOf(type)};
    const char* position = space.data() + dot + 2;
    const char* const end = space.data() + space.size();
    for (int& number : result.version) {
        const auto [next, failure] = std::from_chars(position, end, number);
        if (failure != std::errc()) {
            return std::nullopt;
        }
        position = next == end ? end : next + 1;
    }
    return result;
}

} // namespace

std::string Element::attribute(const std::string& key) const {
    const auto found = attributes.find(key);
    return found == attributes.end() ? std::string() : found->second;
}

std::vector<const Element*> Element::all(std::string_view childName) const {
    std::vector<const Element*> found;
    for (const auto& child : children) {
        if (childName.empty() || child->name == childName) {
            found.push_back(child.get());
        }
    }
    return found;
}

const Element* Element::annotation(std::string_view term) const {
    for (const Element* const each : all("Annotation")) {
        if (each->attribute("Term") == term) {
            return each;
        }
    }
    return nullptr;
}

void Element::visit(const std::function<void(const Element&)>& visitor) const {
    visitor(*this);
    for (const auto& child : children) {
        child->visit(visitor);
    }
}

std::unique_ptr<Element> parseXml(std::string_view text) {
    const std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> parser(XML_ParserCreate(nullptr),
                                                                         XML_ParserFree);
    Builder builder;
    XML_SetUserData(parser.get(), &builder);
    XML_SetElementHandler(parser.get(), Builder::begin, Builder::end);
    XML_SetCharacterDataHandler(parser.get(), Builder::text);
    if (XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()), XML_TRUE) !=
        XML_STATUS_OK) {
        throw std::runtime_error("line " + currentLine(parser.get()) + ": " +
                                 XML_ErrorString(XML_GetErrorCode(parser.get())));
    }
    return std::move(builder.root.children.front());
}

void Csdl::add(std::string_view text) {
    files_.push_back(parseXml(text));
    files_.back()->visit([this](const Element& element) {
        if (element.name != "Schema") {
            return;
        }
        const std::string space = element.attribute("Namespace");
        namespaces_[space] = &element;
        for (const auto& child : element.children) {
            if (!child->attribute("Name").empty()) {
                byName_[space + "." + child->attribute("Name")] = child.get();
            }
        }
    });
}

void Csdl::addFile(const std::filesystem::path& file) {
    std::ifstream stream(file);
    try {
        add(std::string(std::istreambuf_iterator<char>(stream), {}));
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(file.string() + ": " + error.what());
    }
}

void Csdl::addFolder(const std::filesystem::path& folder) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".xml") {
            addFile(entry.path());
        }
    }
}

const Element* Csdl::find(const std::string& name) const {
    const auto found = byName_.find(name);
    return found == byName_.end() ? nullptr : found->second;
}

bool Csdl::hasNamespace(const std::string& name) const {
    return namespaces_.contains(name);
}

std::vector<const Element*> Csdl::chain(const std::string& type) const {
    std::vector<const Element*> result;
    std::string name = type;
    while (const Element* const element = find(name)) {
        result.push_back(element);
        name = element->attribute("BaseType");
    }
    return result;
}

bool Csdl::isDerived(const std::string& type, const std::string& base) const {
    std::string name = type;
    while (name != base) {
        const Element* const element = find(name);
        if (element == nullptr) {
            return false;
        }
        name = element->attribute("BaseType");
    }
    return true;
}

std::string Csdl::newestOf(const std::string& type, const std::string& within) const {
    const std::optional<Versioned> wanted = versionedOf(type);
    if (!wanted) {
        return type;
    }
    const std::optional<Versioned> limit = versionedOf(within + ".");
    std::string best = type;
    std::array<int, 3> bestVersion = wanted->version;
    for (const auto& [name, element] : byName_) {
        const std::optional<Versioned> each = versionedOf(name);
        if (each && each->family == wanted->family && each->name == wanted->name &&
            each->version > bestVersion &&
            (!limit || limit->family != each->family || each->version <= limit->version)) {
            best = name;
            bestVersion = each->version;
        }
    }
    return best;
}

std::string namespaceOf(const std::string& type) {
    const std::size_t dot = type.rfind('.');
    return dot == std::string::npos ? std::string() : type.substr(0, dot);
}

std::string lastPartOf(const std::string& type) {
    return type.substr(type.rfind('.') + 1);
}
