// The hook: a table from message id to worker, and the refusal of every other id.
#include "service/hook_function.h"

#include "log_line.h"
#include "requests/return_messages.h"
#include "service/plugin_objects.h"

#include <string>

namespace {

struct Route {
    const char* msgId;
    fnTypes function;
};
constexpr Route kRoutes[] = {
    {"00001", fnRead},   {"00002", fnUpdate}, {"00003", fnUpdate},
    {"00004", fnUpdate}, {"00000", fnCreate},
};

void refuse(const std::string& msgId, const std::string& replyChannel) {
    constexpr std::string_view kName = "OrvaneWebGUI_OVRHookFunction";
    ReturnMessage answer = kSuccessTemplate;
    logLine(kName, "The msgId is invalid: ", msgId, ".");
    setReturnMessage(&answer, "ActionNotSupported", 1, msgId.c_str());
    answerRequest(kName, G_Plugin.m_redis, replyChannel, &answer);
}

} // namespace

void OrvaneWebGUI_OVRHookFunction(char* msgId, char* reqArg, char* replyChannel) {
    RequestTriple request(msgId, reqArg, replyChannel);
    ovrComSupport* support = G_Plugin.m_bindings[kPluginId];
    for (const Route& route : kRoutes) {
        if (std::get<0>(request) == route.msgId) {
            support->ovrThreadInstructionPost(lockPost, &request, route.function);
            return;
        }
    }
    refuse(std::get<0>(request), std::get<2>(request));
}
