// The child and its report, which a destructor of the program sends after all exit handlers.
#include "tests/fault_sweep/child.h"

#include "tests/doubles/platform_doubles.h"

#include <cstdio>
#include <iostream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

// Options for the address sanitizer. A child starts as a copy of all memory, so quarantine little.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
    return "quarantine_size_mb=8";
}

namespace fault_sweep {

namespace {

// The child's. Never destroyed.
struct Child {
    int pipe = -1;
    std::ostringstream output;
    std::ostringstream errors;
    RecordedRun run;
    std::string note;
    int blocksBefore = 0;
};
Child* g_child = nullptr;

std::string taken(std::ostringstream& stream) {
    std::string text = stream.str();
    stream.str({});
    return text;
}

// Appends the calls and the output since the last time to the run.
void collect(RecordedRun& run) {
    for (doubles::RecordedCall& call : doubles::recordedCalls()) {
        run.calls.push_back(std::move(call));
    }
    run.output += taken(g_child->output);
    run.errors += taken(g_child->errors);
}

// --- The report: numbers and counted texts, each followed by a blank ---

void put(std::string& report, int number) {
    report += std::to_string(number) + ' ';
}

void put(std::string& report, const std::string& text) {
    report += std::to_string(text.size()) + ' ' + text + ' ';
}

int getNumber(std::istream& report) {
    int number = -1;
    report >> number;
    return number;
}

std::string getText(std::istream& report) {
    std::size_t size = 0;
    report >> size;
    report.get();
    std::string text(report ? size : 0, '\0');
    report.read(text.data(), static_cast<std::streamsize>(text.size()));
    return text;
}

std::string compose(const Child& child) {
    std::string report;
    put(report, doubles::openConnections());
    put(report, doubles::liveBlocks() - child.blocksBefore);
    put(report, child.note);
    put(report, child.run.output);
    put(report, child.run.errors);
    put(report, static_cast<int>(child.run.calls.size()));
    for (const doubles::RecordedCall& call : child.run.calls) {
        put(report, call.function);
        put(report, call.text);
        put(report, call.canFail ? 1 : 0);
        put(report, static_cast<int>(call.fault.shape));
        put(report, call.fault.code);
    }
    return report;
}

void readReport(std::istream& report, ChildEnd* end) {
    end->openConnections = getNumber(report);
    end->blocks = getNumber(report);
    end->note = getText(report);
    end->run.output = getText(report);
    end->run.errors = getText(report);
    const int calls = getNumber(report);
    for (int i = 0; i < calls && report; ++i) {
        doubles::RecordedCall& call = end->run.calls.emplace_back();
        call.function = getText(report);
        call.text = getText(report);
        call.canFail = getNumber(report) != 0;
        call.fault.shape = static_cast<doubles::Shape>(getNumber(report));
        call.fault.code = getNumber(report);
    }
    end->reported = calls >= 0 && static_cast<bool>(report);
}

__attribute__((destructor)) void report() {
    if (g_child == nullptr) {
        return;
    }
    collect(g_child->run);
    const std::string text = compose(*g_child);
    for (std::size_t sent = 0; sent < text.size();) {
        const ssize_t written = ::write(g_child->pipe, text.data() + sent, text.size() - sent);
        if (written < 0) {
            ::_exit(2);
        }
        sent += static_cast<std::size_t>(written);
    }
    ::close(g_child->pipe);
}

[[noreturn]] void live(int pipe, const std::function<void()>& body) {
    g_child = new Child;
    g_child->pipe = pipe;
    std::cout.rdbuf(g_child->output.rdbuf());
    std::cerr.rdbuf(g_child->errors.rdbuf());
    body();
    ::_exit(3); // the body has returned instead of exiting
}

std::string readAll(int pipe) {
    std::string text;
    char part[4096];
    for (ssize_t size = 0; (size = ::read(pipe, part, sizeof part)) > 0;) {
        text.append(part, static_cast<std::size_t>(size));
    }
    ::close(pipe);
    return text;
}

} // namespace

ChildEnd runInChild(const std::function<void()>& body) {
    ChildEnd end;
    int pipe[2] = {-1, -1};
    std::fflush(nullptr); // or the child writes it again
    if (::pipe(pipe) != 0) {
        return end;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(pipe[0]);
        live(pipe[1], body);
    }
    ::close(pipe[1]);
    std::istringstream report(readAll(pipe[0]));
    if (child < 0 || ::waitpid(child, &end.status, 0) != child) {
        return end;
    }
    readReport(report, &end);
    return end;
}

void beginRun() {
    leaveOut();
    goOn();
    g_child->run = {};
    g_child->blocksBefore = doubles::liveBlocks();
}

void leaveOut() {
    collect(g_child->run);
}

void goOn() {
    RecordedRun ignored;
    collect(ignored);
}

void note(const std::string& text) {
    g_child->note += text;
}

} // namespace fault_sweep
