// Loaded in front of the daemon (LD_PRELOAD): records which requests reached it and which answers
// it published, one line each, and passes every call on to the real library. WITNESS_JOURNAL names
// the file; tests/storms/journal.h reads it.
//
//   request CHANNEL         the request with this reply channel was posted to its worker
//   answer CHANNEL CODE     publishing on the channel ended with this code
#include "platform/ossel.h"
#include "platform/plugin_host.h"

#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace {

// The mangled name with lockType, RequestTriple*, fnTypes.
constexpr const char* kInstructionPost =
    "_ZN13ovrComSupport24ovrThreadInstructionPostE8lockTypePSt5tupleIJNSt7__"
    "cxx1112basic_stringIcSt11char_traitsIcESaIcEEES7_S7_EE7fnTypes";

template <typename Function>
Function* theReal(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

// One write per line to a file open for appending: lines of several threads, and of the old and the
// new daemon, do not mix.
void writeDown(std::string line) {
    static const int journal = [] {
        const char* const path = std::getenv("WITNESS_JOURNAL");
        return ::open(path == nullptr ? "" : path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    }();
    line += '\n';
    if (::write(journal, line.data(), line.size()) < 0) {
        std::abort(); // a test without its witness would prove nothing
    }
}

} // namespace

void ovrComSupport::ovrThreadInstructionPost(lockType lock, RequestTriple* request,
                                             fnTypes function) {
    static auto* const real =
        theReal<void(ovrComSupport*, lockType, RequestTriple*, fnTypes)>(kInstructionPost);
    if (lock == lockPost && request != nullptr) {
        writeDown("request " + std::get<2>(*request));
    }
    real(this, lock, request, function);
}

extern "C" __attribute__((visibility("default"))) int
osselPublishToChannel(redisContext* context, const char* channel, const char* message) {
    static auto* const real =
        theReal<int(redisContext*, const char*, const char*)>("osselPublishToChannel");
    const int code = real(context, channel, message);
    writeDown("answer " + std::string(channel) + ' ' + std::to_string(code));
    return code;
}
