// The one way in which every entry point finds its table row.
#pragma once

#include <string>

// The first row whose key equals `key` exactly, or null. A count of 0 or less has no row.
//   keyOf   gives a row's NUL-terminated key
template <typename Row, typename KeyOf>
const Row* findRow(const Row* rows, int count, const std::string& key, KeyOf keyOf) {
    for (int i = 0; i < count; ++i) {
        if (key == keyOf(rows[i])) {
            return &rows[i];
        }
    }
    return nullptr;
}
