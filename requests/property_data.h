// The records that a request carries.
#pragma once

#include "records.h"

#include <cstdlib>

// Frees the records at the end of the request: whichever block the pointer names by then, since
// a handler is given its address.
struct PropertyData {
    PropertyData() = default;
    ~PropertyData() { std::free(records); }
    PropertyData(const PropertyData&) = delete;
    PropertyData& operator=(const PropertyData&) = delete;

    FieldValuePair* records = nullptr; // `malloc`ed, or null
};
