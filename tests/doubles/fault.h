// How a call of a device library or of the C library fails, and the record of a call.
#pragma once

#include <string>

namespace doubles {

enum class Shape {
    none,       // does not fail
    refused,    // no effect: the code, a null pointer, false; in the C library `errno` is the code
    emptyText,  // done, with an empty text or an empty file
    emptyArray, // done, with memory for an array and a count of 0
    nullArray,  // done, with a null array
    twoRows,    // done, with one row more than there is
    notReady,   // done, with a handle that is not ready
    levelOne,   // the code, with the schema level 1 left in the handle
    levelTwo,   // the code, with the schema level 2 left in the handle
    unreadable, // done, with a file whose reads fail
    noMessage,  // the code, without a message
    afterRows,  // the code, after the rows were delivered
};

struct Fault {
    Shape shape = Shape::none;
    int code = 0;

    explicit operator bool() const { return shape != Shape::none; }
    bool operator==(const Fault&) const = default;
};

// A recorded call. `fault` is also set if the call failed by itself, as a look-up of something
// missing does.
struct RecordedCall {
    std::string function;
    std::string text;     // as calls() shows it
    bool canFail = false; // counted by failCall and failAnyNth
    Fault fault;
};

} // namespace doubles
