// Standard output of the program: whole texts, tables and JSON lines, with every write
// checked. A reader that has gone away is no error.
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
    // Writes all of it at once. Throws std::system_error where the output cannot take it,
    // for instance on a full disk.
    void print(const std::string& text);
    // One line. Bytes that are no UTF-8 are replaced.
    void print(const nlohmann::ordered_json& json);
    // Columns are aligned, two blanks between them.
    void print(const std::vector<Row>& rows);

    // True once the reader has gone away; what is printed then is dropped.
    bool isClosed() const { return closed_; }
    static bool isTerminal();

private:
    bool closed_ = false;
};

// 0 for "Success", 1 otherwise.
int statusOf(const client::Answer& answer);

// The members "MessageId" and "MessageArgs".
nlohmann::ordered_json toJson(const client::Answer& answer);

} // namespace orvanectl
