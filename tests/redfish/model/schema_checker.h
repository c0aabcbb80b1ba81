// Checks documents of a Redfish service against CSDL: properties, types, enumerations, links,
// actions, annotations, addresses.
#pragma once

#include "tests/redfish/model/csdl.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

class SchemaChecker {
public:
    // `csdl` is borrowed.
    explicit SchemaChecker(const Csdl& csdl) : csdl_(csdl) {}

    // What is wrong with a document, or an object of one, that names its type; one line each,
    // with the place. Nothing: it follows its schema.
    std::vector<std::string> check(const nlohmann::json& document) const;

    // The same of an object of the given type that does not name it.
    std::vector<std::string> checkAs(const nlohmann::json& object, const std::string& type) const;

private:
    const Csdl& csdl_;
};
