// The types of a set of CSDL files, for checking documents and our own schemas against them.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// One element of an XML file; names have no namespace prefix.
struct Element {
    std::string name;
    std::map<std::string, std::string> attributes;
    std::vector<std::unique_ptr<Element>> children;

    std::string attribute(const std::string& key) const; // empty: none
    // The children of a name; all if it is empty.
    std::vector<const Element*> all(std::string_view childName) const;
    // The annotation with a term such as "Redfish.Required", or null.
    const Element* annotation(std::string_view term) const;
    // Visits this element and everything below it.
    void visit(const std::function<void(const Element&)>& visitor) const;
};

// Throws std::runtime_error, with the line, for a text that is not well-formed.
std::unique_ptr<Element> parseXml(std::string_view text);

class Csdl {
public:
    // Adds the schemas of a CSDL file.
    void add(std::string_view text);
    void addFile(const std::filesystem::path& file);
    void addFolder(const std::filesystem::path& folder);

    // The type, action or term of a full name such as "Role.v1_3_3.Role", or null.
    const Element* find(const std::string& name) const;
    bool hasNamespace(const std::string& name) const;

    // The type and its base types, the type first.
    std::vector<const Element*> chain(const std::string& type) const;
    bool isDerived(const std::string& type, const std::string& base) const;

    // The version of a type to use within a resource of the namespace `within`. Of the same family:
    // the newest that is not newer, for example "Manager.v1_5_0.Links" for "Manager.v1_0_0.Links".
    // Of another family: the newest of all.
    std::string newestOf(const std::string& type, const std::string& within) const;

private:
    std::vector<std::unique_ptr<Element>> files_;
    std::map<std::string, const Element*> byName_;
    std::map<std::string, const Element*> namespaces_;
};

// "Role.v1_3_3" of "Role.v1_3_3.Role", and "Role".
std::string namespaceOf(const std::string& type);
std::string lastPartOf(const std::string& type);
