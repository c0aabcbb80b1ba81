// The base of every unit test that uses the doubles.
#pragma once

#include "tests/doubles/platform_doubles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ios>
#include <iostream>
#include <sstream>
#include <string>

namespace doubles {

// Gives each test fresh doubles and decimal streams, and captures what the code under test writes
// to std::cout and std::cerr.
class PlatformTest : public testing::Test {
protected:
    PlatformTest() {
        reset();
        std::cout << std::dec;
    }
    ~PlatformTest() override {
        std::cout << std::dec;
        std::cout.rdbuf(output_);
        std::cerr.rdbuf(errors_);
    }

public:
    PlatformTest(const PlatformTest&) = delete;
    PlatformTest& operator=(const PlatformTest&) = delete;

    // What was written since the last time.
    std::string output() { return taken(capturedOutput_); }
    std::string errors() { return taken(capturedErrors_); }

    // Sets the base of integers on std::cout. The daemon runs in hexadecimal.
    static void decimalStream() { std::cout << std::dec; }
    static void hexStream() { std::cout << std::hex; }

private:
    static std::string taken(std::ostringstream& stream) {
        std::string text = stream.str();
        stream.str({});
        return text;
    }

    std::ostringstream capturedOutput_;
    std::ostringstream capturedErrors_;
    std::streambuf* output_ = std::cout.rdbuf(capturedOutput_.rdbuf());
    std::streambuf* errors_ = std::cerr.rdbuf(capturedErrors_.rdbuf());
};

} // namespace doubles
