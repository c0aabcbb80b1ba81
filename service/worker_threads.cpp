// The request workers: one loop with three sets of parameters.
#include "service/worker_threads.h"

#include "agent/handler_tables.h"
#include "log_line.h"
#include "process_state.h"
#include "requests/message_dispatch.h"
#include "requests/read_requests.h"
#include "requests/update_requests.h"
#include "service/plugin_objects.h"

#include <iterator>
#include <memory>

namespace {

struct Disconnect {
    void operator()(redisContext* context) const noexcept { osselRedisDisconnect(context); }
};

// The loop of a worker.
//   body    the thread body's name, for the log
//   serve   answers one request on this worker's connection
template <typename Serve>
void* serveRequests(const char* body, fnTypes function, Serve serve) {
    const std::unique_ptr<redisContext, Disconnect> context(osselRedisConnect());
    if (!context) {
        logLine(body, "Failed to call osselRedisConnect().");
        return nullptr;
    }
    ovrComSupport* support = G_Plugin.m_bindings[kPluginId];
    RequestTriple request;
    for (;;) {
        support->ovrThreadInstructionPost(lockTake, &request, function);
        serve(context.get(), request);
    }
}

} // namespace

void* OrvaneWebGUI_CreateObject(std::string) {
    return serveRequests("OrvaneWebGUI_CreateObject", fnCreate,
                         [](redisContext* context, const RequestTriple& request) {
                             const auto& [msgId, reqArg, replyChannel] = request;
                             // Meant: no message id creates anything.
                             createObjectOrActionObject(
                                 context, msgId, reqArg, replyChannel, std::ssize(kActionTable),
                                 kActionTable, 0, nullptr, G_ResourceTypeIds.schemaTypeId,
                                 G_ResourceTypeIds.instanceCollectionKey, G_InstanceKeys);
                         });
}

void* OrvaneWebGUI_ReadObject(std::string) {
    return serveRequests("OrvaneWebGUI_ReadObject", fnRead,
                         [](redisContext* context, const RequestTriple& request) {
                             const auto& [msgId, reqArg, replyChannel] = request;
                             readObject(context, msgId, reqArg, replyChannel,
                                        std::ssize(kReadTable), kReadTable, G_InstanceKeys);
                         });
}

void* OrvaneWebGUI_UpdateObject(std::string) {
    return serveRequests("OrvaneWebGUI_UpdateObject", fnUpdate,
                         [](redisContext* context, const RequestTriple& request) {
                             const auto& [msgId, reqArg, replyChannel] = request;
                             updateObject(context, msgId, reqArg, replyChannel,
                                          std::ssize(kUpdateTable), kUpdateTable, G_InstanceKeys);
                         });
}
