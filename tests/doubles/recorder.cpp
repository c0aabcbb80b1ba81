// The record of the calls, the failures that a test asks for, and how arguments are shown.
#include "tests/doubles/recorder.h"
#include "tests/doubles/platform_doubles.h"

#include "text.h"

#include <algorithm>
#include <set>
#include <utility>

namespace doubles {

namespace {

struct Failure {
    std::string function; // empty: any
    int remaining;        // calls until it happens; 0: always
    Fault fault;
    bool andLater = false; // then every later call of the same function too
};

struct Record {
    std::vector<RecordedCall> calls;
    bool lastIsRecorded = false; // the last call is the last element of `calls`
    std::vector<Failure> failures;
    bool paused = false;
    std::set<std::string, std::less<>> ignored;
    void (*listener)(const std::string& line) = nullptr;
};

// Never destroyed: process-wide objects of a test make calls until its very end.
Record& theRecord() {
    static auto* const record = new Record;
    return *record;
}

void ask(Failure failure) {
    const detail::Lock lock(detail::mutex());
    theRecord().failures.push_back(std::move(failure));
}

Fault refusal(int code) {
    return {Shape::refused, code};
}

// The failure of the next call of this function, if any.
Fault nextFault(std::string_view function) {
    std::vector<Failure>& failures = theRecord().failures;
    Fault fault;
    for (auto failure = failures.begin(); failure != failures.end();) {
        const bool concerned = failure->function.empty() || failure->function == function;
        const bool always = failure->remaining == 0;
        const bool happens = concerned && (always || --failure->remaining == 0);
        fault = happens && !fault ? failure->fault : fault;
        if (happens && !always && !failure->andLater) {
            failure = failures.erase(failure);
            continue;
        }
        if (happens && !always) {
            *failure = {std::string(function), 0, failure->fault};
        }
        ++failure;
    }
    return fault;
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
    record.lastIsRecorded = !record.ignored.contains(function);
    if (!record.lastIsRecorded) {
        return;
    }
    const std::string name(function);
    record.calls.push_back({name, name + '(' + arguments + ')', false, {}});
    if (record.listener != nullptr) {
        record.listener(record.calls.back().text);
    }
}

int enter(std::string_view function, const std::string& arguments) {
    return enterCall(function, arguments).code;
}

Fault enterCall(std::string_view function, const std::string& arguments) {
    const Lock lock(mutex());
    record(function, arguments);
    Record& record = theRecord();
    const Fault fault = record.paused ? Fault{} : nextFault(function);
    if (record.lastIsRecorded) {
        record.calls.back().canFail = true;
        record.calls.back().fault = fault;
    }
    return fault;
}

int refused(int code) {
    if (theRecord().lastIsRecorded) {
        theRecord().calls.back().fault = refusal(code);
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
        text += (i == 0 ? "" : ", ") + std::string(boundedText(fields[i].name)) + '=' +
                std::string(boundedText(fields[i].value));
    }
    return '[' + text + ']';
}

std::string show(const InstanceSlot* members, unsigned int count) {
    if (members == nullptr) {
        return "null";
    }
    std::string text;
    for (unsigned int i = 0; i < count; ++i) {
        text += (i == 0 ? "" : ", ") + show(std::string(boundedText(members[i])));
    }
    return '{' + text + '}';
}

} // namespace detail

void reset() {
    const detail::Lock lock(detail::mutex());
    Record& record = theRecord();
    record.calls.clear();
    record.lastIsRecorded = false;
    record.failures.clear();
    record.paused = false;
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
    for (RecordedCall& call : recordedCalls()) {
        texts.push_back(std::move(call.text));
    }
    return texts;
}

std::vector<RecordedCall> recordedCalls() {
    const detail::Lock lock(detail::mutex());
    theRecord().lastIsRecorded = false;
    return std::exchange(theRecord().calls, {});
}

std::vector<std::string> callsOf(const std::string& function) {
    const detail::Lock lock(detail::mutex());
    std::erase_if(theRecord().calls,
                  [&function](const RecordedCall& call) { return call.function != function; });
    return calls();
}

void ignore(const std::string& function) {
    const detail::Lock lock(detail::mutex());
    theRecord().ignored.insert(function);
}

void fail(const std::string& function, int code) {
    ask({function, 1, refusal(code)});
}

void failNth(const std::string& function, int nth, int code) {
    ask({function, nth, refusal(code)});
}

void failAlways(const std::string& function, int code) {
    ask({function, 0, refusal(code)});
}

void failAnyNth(int nth, int code) {
    ask({{}, nth, refusal(code)});
}

void failCall(int nth, Fault fault) {
    ask({{}, nth, fault});
}

void failCallAndLater(int nth, Fault fault) {
    ask({{}, nth, fault, true});
}

void pauseFailures(bool paused) {
    const detail::Lock lock(detail::mutex());
    theRecord().paused = paused;
}

bool failuresMet() {
    const detail::Lock lock(detail::mutex());
    return std::ranges::none_of(theRecord().failures,
                                [](const Failure& failure) { return failure.remaining > 0; });
}

} // namespace doubles
