// Standard output of the program: whole texts, tables and JSON lines, with every write checked. A
// closed pipe is not an error.
#pragma once

#include "client/requester.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace orvanectl {

// Exit statuses.
inline constexpr int kSuccess = 0;
inline constexpr int kAnsweredOtherwise = 1; // also: the output could not be written
inline constexpr int kUsage = 2;
inline constexpr int kNobodyThere = 3;

using Row = std::vector<std::string>;

class Output {
public:
    // Writes the whole text. Throws std::system_error on failure, e.g. a full disk.
    void print(const std::string& text);
    // One line; replaces bytes that are not UTF-8.
    void print(const nlohmann::ordered_json& json);
    // A table with aligned columns, two blanks apart.
    void print(const std::vector<Row>& rows);

    // True once the reader has closed the pipe; further output is dropped.
    bool isClosed() const { return closed_; }

    // Is standard output a terminal?
    static bool isTerminal();

private:
    bool closed_ = false;
};

// 0 for "Success", 1 otherwise.
int statusOf(const client::Answer& answer);

// The members "MessageId" and "MessageArgs".
nlohmann::ordered_json toJson(const client::Answer& answer);

} // namespace orvanectl
