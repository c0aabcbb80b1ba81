// The query of a GET: "$select" and "$expand", applied to documents.
#pragma once

#include "redfish/model/errors.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace redfish::model {

// Which links are followed, one level deep: those outside of "Links", those inside, or both.
enum class Expansion : std::uint8_t { none, noLinks, links, all };

struct Query {
    std::vector<std::string> selected; // paths such as "Actions/Oem"; empty: everything
    Expansion expansion = Expansion::none;

    bool isPlain() const { return selected.empty() && expansion == Expansion::none; }
};

// Names and values in the order of the query, percent-decoded. Parameters that begin with "$" and
// those of the standard's own names ("only", "excerpt") are problems where they are not
// supported; other names are passed over.
Checked<Query> checkQuery(const std::vector<std::pair<std::string, std::string>>& parameters);

// Gives the document at an address, as the one who asks may see it; nothing leaves the link as it
// is.
using Lookup = std::function<std::optional<Json>(const std::string& address)>;

// The document with links replaced by what they lead to, then cut to what is selected. Members
// that tell what a document is ("@odata.id", "@odata.type", ...) always stay. A selection goes
// for the members of a collection where they are expanded.
Json applyQuery(Json document, const Query& query, const Lookup& lookup);

} // namespace redfish::model
