// The query of a GET: "$select" and "$expand", checked and applied to documents. Any thread.
#pragma once

#include "redfish/model/errors.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace redfish::model {

// Which links are expanded, one level deep: those outside of "Links" (`.`), those inside (`~`), or
// both (`*`).
enum class Expansion : std::uint8_t { none, noLinks, links, all };

struct Query {
    // Paths such as "Actions/Oem"; empty: everything.
    std::vector<std::string> selected;
    Expansion expansion = Expansion::none;

    // Whether the document stays as it is.
    bool isPlain() const { return selected.empty() && expansion == Expansion::none; }
};

// Checks names and values of a query, percent-decoded, in their order. Parameters that begin with
// "$", and the standard's "only" and "excerpt", are problems unless supported; any other name is
// ignored.
Checked<Query> checkQuery(const std::vector<std::pair<std::string, std::string>>& parameters);

// Finds the document at an address, as the caller may see it. Nothing: the link stays a link.
using Lookup = std::function<std::optional<Json>(const std::string& address)>;

// Replaces links by the documents that they lead to, then removes what is not selected. Members
// that identify a document ("@odata.id", "@odata.type", ...) always stay. In a collection whose
// members are expanded, the selection applies to the members.
Json applyQuery(Json document, const Query& query, const Lookup& lookup);

} // namespace redfish::model
