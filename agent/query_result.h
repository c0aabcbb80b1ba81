// The result of the last collecting query.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <utility>

// Where a value belongs: row number from 0, column name.
using QueryPlace = std::pair<std::uint32_t, std::string>;

struct QueryPlaceHash {
    std::size_t operator()(const QueryPlace& place) const noexcept {
        return std::hash<std::string>{}(place.second) ^ (std::size_t{place.first} << 1U);
    }
};

// What Run_SQL collects. The next collecting query clears it.
struct QueryResult {
    // A query for a single value takes the first element.
    std::unordered_map<QueryPlace, std::string, QueryPlaceHash> values{10};
    std::uint32_t rowCount = 0; // includes rows without columns
};

// Used by one query at a time: start-up runs alone, and the handlers' mutex serialises requests.
extern QueryResult G_QueryResult;
