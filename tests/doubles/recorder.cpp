// The record of the calls, the failures that a test asks for, and how arguments are
// shown. What a call does otherwise is left to the double of its library.
#include "doubles/recorder.h"
#include "doubles/platform_doubles.h"

#include <algorithm>
#include <set>

namespace doubles {

namespace {

struct Call {
    std::string function;
    std::string text;
};

struct Failure {
    std::string function; // empty: any
    int remaining;        // calls until it happens; 0: always
    int code;
};

struct Record {
    std::vector<Call> calls;
    std::vector<Failure> failures;
    std::set<std::string, std::less<>> ignored;
    void (*listener)(const std::string& line) = nullptr;
};

// Never destroyed: process-wide objects of a test make calls at its very end.
Record& theRecord() {
    static auto* const record = new Record;
    return *record;
}

void ask(std::string function, int remaining, int code) {
    const detail::Lock lock(detail::mutex());
    theRecord().failures.push_back({std::move(function), remaining, code});
}

} // namespace

namespace detail {

std::recursive_mutex& mutex() {
    static auto* const mutex = new std::recursive_mutex;
    return *mutex;
}

void setListener(void (*listener)(const std::string& line)) {
    theRecord().listener = listener;
}

void record(std::string_view function, const std::string& arguments) {
    const Lock lock(mutex());
    Record& record = theRecord();
    if (record.ignored.contains(function)) {
        return;
    }
    record.calls.push_back({std::string(function), std::string(function) + '(' + arguments + ')'});
    if (record.listener != nullptr) {
        record.listener(record.calls.back().text);
    }
}

int enter(std::string_view function, const std::string& arguments) {
    const Lock lock(mutex());
    record(function, arguments);
    std::vector<Failure>& failures = theRecord().failures;
    int code = 0;
    for (auto failure = failures.begin(); failure != failures.end();) {
        const bool concerned = failure->function.empty() || failure->function == function;
        const bool always = failure->remaining == 0;
        const bool happens = concerned && (always || --failure->remaining == 0);
        code = happens && code == 0 ? failure->code : code;
        failure = happens && !always ? failures.erase(failure) : std::next(failure);
    }
    return code;
}

std::string show(const char* text) {
    return text == nullptr ? "null" : '"' + std::string(text) + '"';
}

std::string show(const std::string& text) {
    return show(text.c_str());
}

std::string show(int number) {
    return std::to_string(number);
}

std::string show(unsigned int number) {
    return std::to_string(number);
}

std::string show(const FieldValuePair* fields, int count) {
    if (fields == nullptr) {
        return "null";
    }
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += (i == 0 ? "" : ", ") + std::string(fields[i].name) + '=' + fields[i].value;
    }
    return '[' + text + ']';
}

std::string show(const InstanceSlot* members, unsigned int count) {
    if (members == nullptr) {
        return "null";
    }
    std::string text;
    for (unsigned int i = 0; i < count; ++i) {
        text += (i == 0 ? "" : ", ") + show(static_cast<const char*>(members[i]));
    }
    return '{' + text + '}';
}

} // namespace detail

void reset() {
    const detail::Lock lock(detail::mutex());
    Record& record = theRecord();
    record.calls.clear();
    record.failures.clear();
    record.ignored.clear();
    detail::resetStore();
    detail::resetHost();
    detail::resetDatabase();
    detail::resetDevices();
    detail::resetLibc();
}

std::vector<std::string> calls() {
    const detail::Lock lock(detail::mutex());
    std::vector<std::string> texts;
    for (Call& call : theRecord().calls) {
        texts.push_back(std::move(call.text));
    }
    theRecord().calls.clear();
    return texts;
}

std::vector<std::string> callsOf(const std::string& function) {
    const detail::Lock lock(detail::mutex());
    std::erase_if(theRecord().calls,
                  [&function](const Call& call) { return call.function != function; });
    return calls();
}

void ignore(const std::string& function) {
    const detail::Lock lock(detail::mutex());
    theRecord().ignored.insert(function);
}

void fail(const std::string& function, int code) {
    ask(function, 1, code);
}

void failNth(const std::string& function, int nth, int code) {
    ask(function, nth, code);
}

void failAlways(const std::string& function, int code) {
    ask(function, 0, code);
}

void failAnyNth(int nth, int code) {
    ask({}, nth, code);
}

bool failuresMet() {
    const detail::Lock lock(detail::mutex());
    return std::ranges::none_of(theRecord().failures,
                                [](const Failure& failure) { return failure.remaining > 0; });
}

} // namespace doubles
