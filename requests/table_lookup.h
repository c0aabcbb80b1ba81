// How every entry point finds its table row.
#pragma once

#include <string>

// Returns the first row whose key equals `key` exactly, or null.
//   count   0 or less: the table is empty
//   keyOf   returns a row's NUL-terminated key
template <typename Row, typename KeyOf>
const Row* findRow(const Row* rows, int count, const std::string& key, KeyOf keyOf) {
    for (int i = 0; i < count; ++i) {
        if (key == keyOf(rows[i])) {
            return &rows[i];
        }
    }
    return nullptr;
}
