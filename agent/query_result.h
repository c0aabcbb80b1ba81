// The rows of the last collecting query.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <utility>

// A value's place: row number from 0, column name.
using QueryPlace = std::pair<std::uint32_t, std::string>;

struct QueryPlaceHash {
    std::size_t operator()(const QueryPlace& place) const noexcept {
        return std::hash<std::string>{}(place.second) ^ (std::size_t{place.first} << 1U);
    }
};

// What Run_SQL collects. The next collecting query clears it.
struct QueryResult {
    // The first element is what a query for a single value takes.
    std::unordered_map<QueryPlace, std::string, QueryPlaceHash> values{10};
    std::uint32_t rowCount = 0; // rows delivered, those without columns included
};

// One query uses it at a time: the handlers are serialised, and start-up runs alone.
extern QueryResult G_QueryResult;
