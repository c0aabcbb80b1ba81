// The invariants of a request, checked on the doubles' record and on the lines of log.
#include "tests/fuzz/hook_invariants.h"

#include "agent/handler_tables.h"
#include "process_state.h"
#include "tests/fuzz/fuzz.h"
#include "text.h"

#include <algorithm>
#include <iterator>
#include <set>

namespace fuzz {

namespace {

constexpr std::size_t kMaxText = sizeof(FieldValuePair::value) - 1;
constexpr std::ptrdiff_t kMaxPauses = 32; // an alert that is read, a row that is written

bool isNameLetter(char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
           (letter >= '0' && letter <= '9') || letter == '_';
}

bool isControl(char letter) {
    return (letter >= '\0' && letter < ' ' && letter != '\t') || letter == '\x7f';
}

bool isLogLine(std::string_view line) {
    line.remove_suffix(1); // its end
    if (!line.starts_with('[') || std::ranges::any_of(line, isControl)) {
        return false;
    }
    const auto* const end = std::ranges::find_if_not(line.substr(1), isNameLetter);
    const std::string_view rest = line.substr(static_cast<std::size_t>(end - line.begin()));
    return end != line.begin() + 1 && rest.starts_with("]: ") && rest.size() > 3;
}

bool isCallOf(const std::string& call, std::string_view function) {
    return call.starts_with(function) && call[function.size()] == '(';
}

std::ptrdiff_t countOf(const Pieces& calls, std::string_view function) {
    return std::ranges::count_if(
        calls, [function](const std::string& call) { return isCallOf(call, function); });
}

// The number that is a call's one argument.
void checkNumber(const std::string& call, const char* function, const std::set<int>& allowed) {
    if (isCallOf(call, function)) {
        const int number =
            parseDecimal(call.c_str() + std::char_traits<char>::length(function) + 1);
        require(allowed.contains(number), "a device gets a value that it knows", call);
    }
}

void checkDevices(const Pieces& calls) {
    for (const std::string& call : calls) {
        checkNumber(call, "LCDBrightnessSet", {1, 2, 3, 4, 5, 6, 7});
        checkNumber(call, "LCDBlankTimeOutSet", {0, 60, 120, 180, 240, 300});
        checkNumber(call, "LCDBlank", {0});
        checkNumber(call, "usleep", {200000});
        require(!call.starts_with("Cool") || G_ManagingMode == 0, "the scale is another's", call);
    }
    require(countOf(calls, "usleep") <= kMaxPauses, "a request has an end");
}

// The fresh key of the answer, from the call that stores it.
std::string answerKey(const std::string& call) {
    const std::size_t begin = call.find('"') + 1;
    return call.substr(begin, call.find('"', begin) - begin);
}

// One attempt to answer, which goes on as long as its steps succeed. Returns the answer's key;
// empty: there is none.
std::string checkAnswer(const RequestTriple& request, const Pieces& calls, const Pieces& lines) {
    const auto logged = [&lines](std::string_view text) {
        return std::ranges::count_if(
            lines, [text](const std::string& line) { return line.starts_with(text); });
    };
    const auto failures = logged("[sendReturnMsg]: Failed to call osselCreateReturnMessage(");
    const auto noKey = logged("[sendReturnMsg]: Failed to call osselGenerateUUID()");
    require(countOf(calls, "osselGenerateUUID") == 1, "a request has one attempt at an answer");
    require(countOf(calls, "osselCreateReturnMessage") == 1 - noKey, "an answer is stored once");
    require(failures <= 1 && countOf(calls, "osselPublishToChannel") == 1 - failures,
            "an answer that is stored is published once");
    if (failures != 0) {
        return "";
    }
    const auto stored = std::ranges::find_if(
        calls, [](const auto& call) { return isCallOf(call, "osselCreateReturnMessage"); });
    const auto published = std::ranges::find_if(
        calls, [](const auto& call) { return isCallOf(call, "osselPublishToChannel"); });
    require(stored < published, "an answer is stored, then published");
    std::string key = answerKey(*stored);
    require(published->ends_with(", \"" + std::get<2>(request) + "\", \"" + key + "\")"),
            "an answer goes to the request's own channel", *published);
    return key;
}

void checkMessage(const std::string& key) {
    static const std::set<std::string> kIds = {"Success", "InternalError", "InvalidObject",
                                               "ActionNotSupported"};
    const std::string id = doubles::field(key, "MessageId");
    require(kIds.contains(id), "an answer has one of four ids", id);
    const std::size_t most = id == "Success" || id == "InternalError" ? 1 : 2;
    require(doubles::hashes()[key].size() <= most, "an answer has at most one argument", id);
}

} // namespace

void checkLogLines(const Pieces& lines) {
    for (const std::string& line : lines) {
        require(isLogLine(line), "a line of log is \"[name]: text\"", line);
    }
}

void checkErrorLines(const Pieces& lines) {
    for (const std::string& line : lines) {
        require(isLogLine(line) || line.starts_with("\tExtra Information: ") ||
                    line.starts_with("[setTheme: Stopped due to "),
                "a line of standard error is \"[name]: text\"", line);
    }
}

RequestWatch::RequestWatch()
    : hashes_(doubles::hashes()), events_(doubles::events().size()), keys_(G_InstanceKeys),
      schemaTypeId_(G_ResourceTypeIds.schemaTypeId) {}

int checkRouting(const RequestTriple& request) {
    const std::string& msgId = std::get<0>(request);
    int kind = -1;
    if (msgId == "00000") {
        kind = fnCreate;
    } else if (msgId == kReadTable[0].messageId) {
        kind = fnRead;
    } else if (std::ranges::any_of(kUpdateTable,
                                   [&](const auto& row) { return msgId == row.messageId; })) {
        kind = fnUpdate;
    }
    const auto& queues = doubles::host().queues;
    for (int i = 0; i < static_cast<int>(queues.size()); ++i) {
        const auto& queue = queues.at(static_cast<std::size_t>(i));
        require(queue.size() == (i == kind ? 1U : 0U), "a request goes to one queue", msgId);
        require(i != kind || queue.front() == request, "a request is posted as it came", msgId);
    }
    return kind;
}

void RequestWatch::checkOutcome(const RequestTriple& request, int kind, bool served,
                                const Pieces& lines) const {
    const Pieces calls = doubles::calls();
    checkLogLines(lines);
    checkDevices(calls);
    std::string key;
    if (served) {
        key = checkAnswer(request, calls, lines);
    } else {
        require(countOf(calls, "osselGenerateUUID") == 0, "a worker that never took is silent");
    }
    if (!key.empty()) {
        checkMessage(key);
    }
    checkChanges(request, kind, key);
    require(doubles::openConnections() == 0, "a worker closes its connection");
    require(G_InstanceKeys == keys_, "the process-wide set stays");
    require(G_ResourceTypeIds.schemaTypeId == schemaTypeId_, "the type ids stay");
}

// What a request may write: its answer, known instances, and the response data of an action.
void RequestWatch::checkChanges(const RequestTriple& request, int kind,
                                const std::string& uuid) const {
    const std::string& reqArg = std::get<1>(request);
    for (const auto& [key, fields] : doubles::hashes()) {
        const auto before = hashes_.find(key);
        if (key == uuid || (before != hashes_.end() && before->second == fields)) {
            continue;
        }
        require(kind == fnCreate ? key == reqArg : keys_.contains(key), "a foreign hash stays",
                key);
        for (const auto& field : fields) {
            const bool isOld = before != hashes_.end() &&
                               std::ranges::find(before->second, field) != before->second.end();
            require(isOld || (field.first.size() <= kMaxText && field.second.size() <= kMaxText),
                    "a field fits its record", key);
        }
    }
    const std::size_t added = doubles::events().size() - events_;
    require(added == 0 || (added == 1 && kind == fnUpdate), "an update alone is announced, once");
    if (added == 1) {
        require(doubles::events().back().arguments == Pieces{"WebGUI00"}, "the event's argument");
    }
}

} // namespace fuzz
