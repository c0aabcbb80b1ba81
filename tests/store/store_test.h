// The base of the store tests: fresh process-wide objects, and a record without the settings
// agent's calls.
#pragma once

#include "tests/doubles/platform_test.h"
#include "tests/support/process_state_control.h"
#include "text.h"

#include <cstdio>
#include <string>
#include <vector>

namespace store_test {

inline FieldValuePair fieldOf(const std::string& name, const std::string& value) {
    FieldValuePair field;
    copyBounded(field.name, name);
    copyBounded(field.value, value);
    return field;
}

// The nth UUID of the process.
inline std::string instanceUuid(int number) {
    std::string digits = std::to_string(number);
    digits.insert(0, digits.size() < 3 ? 3 - digits.size() : 0, '0');
    return ("80000000-0000-0000-0000-008000000" + digits).substr(0, 36);
}

// A store function's call on the test's connection.
inline std::string call(const std::string& function, const std::string& arguments) {
    return function + "(ctx, " + arguments + ')';
}
inline std::string quoted(const std::string& text) {
    return '"' + text + '"';
}

class StoreTest : public doubles::PlatformTest {
protected:
    StoreTest() {
        for (const char* const function :
             {"open_database", "query_database_dat_with_condition", "free_sql_tbl", "usleep",
              "xset_env_init", "LCDBrightnessSet", "LCDBlankTimeOutSet"}) {
            doubles::ignore(function);
        }
        doubles::database().openResult = 1; // opens without a log line
        test::clearProcessState();
        test::setProvisionedTypeIds();
    }
    ~StoreTest() override { test::clearProcessState(); }

public:
    StoreTest(const StoreTest&) = delete;
    StoreTest& operator=(const StoreTest&) = delete;
};

} // namespace store_test
