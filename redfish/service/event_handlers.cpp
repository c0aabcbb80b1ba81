#include "redfish/service/event_handlers.h"

#include "redfish/http/media_type.h"
#include "redfish/http/target.h"
#include "redfish/model/addresses.h"
#include "redfish/service/responses.h"

#include <utility>

namespace redfish {

using model::Message;
using model::Privilege;

Routes EventHandlers::routes() {
    return {{std::string(model::kEventStream), Method::get, Privilege::login,
             handleBy(this, &EventHandlers::openStream)}};
}

void EventHandlers::openStream(const Call& call, const Respond& respond) {
    std::string filterText;
    const auto parameters = parseQuery(call.request.query);
    if (!parameters) {
        respond(errorResponse(Message::queryParameterValueFormatError, {"%", "$filter"}));
        return;
    }
    for (const auto& [name, value] : *parameters) {
        if (name == "$filter") {
            filterText = value;
        } else if (name.starts_with('$')) {
            respond(errorResponse(Message::queryParameterUnsupported, {name}));
            return;
        }
    }
    std::optional<EventFilter> filter = EventFilter::parse(filterText);
    if (!filter) {
        respond(errorResponse(Message::queryParameterValueFormatError, {filterText, "$filter"}));
        return;
    }
    std::optional<EventId> since;
    if (!call.request.lastEventId.empty()) {
        since = EventId::parse(std::string(call.request.lastEventId));
        if (!since) {
            respond(errorResponse(Message::headerInvalid, {"Last-Event-ID"}));
            return;
        }
    }
    Response response{.status = 200,
                      .headers = {},
                      .contentType = kEventStreamType,
                      .body = nullptr,
                      .feed = nullptr};
    if (call.request.method == Method::get) {
        response.feed = events_.open({.user = call.identity.user,
                                      .sessionId = call.identity.sessionId,
                                      .filter = std::move(*filter)},
                                     since);
        if (!response.feed) {
            respond(errorResponse(Message::eventSubscriptionLimitExceeded));
            return;
        }
    }
    respond(std::move(response));
}

} // namespace redfish
