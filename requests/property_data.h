// Owner of a request's property values.
#pragma once

#include "records.h"

#include <cstdlib>

// Frees whichever block the pointer names at the end of the request: a handler gets the pointer's
// address and may replace the block.
struct PropertyData {
    PropertyData() = default;
    ~PropertyData() { std::free(records); }
    PropertyData(const PropertyData&) = delete;
    PropertyData& operator=(const PropertyData&) = delete;

    FieldValuePair* records = nullptr; // `malloc`ed, or null
};
