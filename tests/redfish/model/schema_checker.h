// Checks documents of a Redfish service against CSDL: properties, types, enumerations, links,
// actions, annotations, addresses.
#pragma once

#include "tests/redfish/model/csdl.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

class SchemaChecker {
public:
    // Borrows `csdl`.
    explicit SchemaChecker(const Csdl& csdl) : csdl_(csdl) {}

    // The defects of a document, or of an object in one, that names its type: one line each, with
    // the place. Empty: it follows its schema.
    std::vector<std::string> check(const nlohmann::json& document) const;

    // The same for an object that does not name its type, which is given.
    std::vector<std::string> checkAs(const nlohmann::json& object, const std::string& type) const;

private:
    const Csdl& csdl_;
};
