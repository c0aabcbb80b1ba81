// Problems as lines of text, for the tests of this folder.
#pragma once

#include "redfish/model/errors.h"

#include <string>
#include <vector>

// One line for each problem: its message, its arguments in brackets, its pointer.
inline std::vector<std::string> linesOf(const redfish::model::Problems& problems) {
    std::vector<std::string> lines;
    for (const redfish::model::Problem& each : problems) {
        std::string line(redfish::model::entryOf(each.message).name);
        for (const std::string& argument : each.arguments) {
            line += " [" + argument + "]";
        }
        lines.push_back(each.property.empty() ? line : line + " " + each.property);
    }
    return lines;
}
