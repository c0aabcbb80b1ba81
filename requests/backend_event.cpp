// The event record of an update.
#include "requests/backend_event.h"

#include "log_line.h"
#include "text.h"

#include <cstdio>
#include <cstring>

void WebGUI_RedfishSendBackendUpdatedEvent(redisContext* context, std::string eventType,
                                           std::string origin, int messageNumber,
                                           std::string argumentPrefix, int argumentNumber) {
    char messageId[256] = {};
    std::snprintf(messageId, sizeof messageId, "Orvane.1.0.Msg%03d", messageNumber);
    InstanceSlot arguments[2] = {};
    std::snprintf(arguments[0], sizeof arguments[0], "%s%02d", argumentPrefix.c_str(),
                  argumentNumber);

    OsselEvent event;
    std::memset(&event, 0, sizeof event); // with the padding: the store gets it as bytes
    copyBounded(event.eventType, eventType);
    copyBounded(event.kind, "MESSAGE");
    copyBounded(event.origin, origin);
    copyBounded(event.message, "Resource updated");
    copyBounded(event.messageId, messageId);
    event.arguments = arguments[0];
    event.argumentCount = 1;
    if (osselCreateEventObject(context, "Zolan Event", 0, &event, 1) != 0) {
        logLine("WebGUI_RedfishSendBackendUpdatedEvent", "Send Redfish SSE event failed.");
    }
}
