// The handlers of the WebGUI resource: reading it, changing settings, running its actions. Thread
// of the loop only.
#pragma once

#include "redfish/gateway/gateway.h"
#include "redfish/service/call.h"
#include "redfish/service/facts.h"

#include <functional>
#include <string>

namespace redfish {

// How the handlers reach the resource: the calls of Gateway that they need, with its contracts.
struct WebGuiAccess {
    // Gateway::read().
    std::function<void(Gateway::Read)> read;
    // Gateway::change().
    std::function<void(client::SettingValues, std::string user, std::string ifMatch,
                       Gateway::Changed)>
        change;
    // Gateway::act().
    std::function<void(std::string action, Gateway::Done)> act;
};

// Borrows the gateway, which must outlive the result.
WebGuiAccess accessTo(Gateway& gateway);

class WebGuiHandlers {
public:
    // Borrows `facts`, to which each read reports whether the provider is there.
    WebGuiHandlers(WebGuiAccess access, Facts& facts);
    WebGuiHandlers(const WebGuiHandlers&) = delete;
    WebGuiHandlers& operator=(const WebGuiHandlers&) = delete;

    // GET and PATCH of the resource, POST on its two actions. The routes borrow this object.
    Routes routes();

private:
    // 200 with the resource under its tag, whatever is selected; 503 or 504 if it cannot be read.
    void get(const Call& call, const Respond& respond) const;
    // 200 with the values in force, and with what was refused if only a part was; 400 and nothing
    // sent if any value is wrong; 412 if If-Match does not hold.
    void patch(const Call& call, const Respond& respond) const;
    // 200 with "Success", or the provider's refusal.
    void turnOffLcd(const Call& call, const Respond& respond) const;
    void guiReady(const Call& call, const Respond& respond) const;
    void act(const Call& call, const char* action, const Respond& respond) const;

    WebGuiAccess access_;
    Facts& facts_;
};

} // namespace redfish
