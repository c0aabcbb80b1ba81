#include "redfish/model/events.h"

#include "redfish/model/addresses.h"
#include "redfish/model/messages.h"

#include <algorithm>
#include <array>

namespace redfish::model {

namespace {

constexpr std::array<std::string_view, 7> kEventTypes{
    "StatusChange", "ResourceUpdated", "ResourceAdded", "ResourceRemoved",
    "Alert",        "MetricReport",    "Other"};

std::string_view typeOf(const std::string& type) {
    const auto* const row = std::find(kEventTypes.begin(), kEventTypes.end(), type);
    return row == kEventTypes.end() ? kEventTypes.back() : *row;
}

} // namespace

Json eventBody(const client::Event& event, const std::string& webGuiInstance) {
    const MessageEntry* const entry = findMessage(event.messageId);
    const std::string_view severity = entry == nullptr ? "OK" : entry->severity;
    Json record{{"MemberId", "0"},
                {"EventId", event.id},
                {"EventType", typeOf(event.eventType)},
                {"Message", event.message},
                {"MessageId", event.messageId},
                {"MessageArgs", event.arguments},
                {"MessageSeverity", severity},
                {"Severity", severity}};
    if (const std::string time = client::eventTime(event.id); !time.empty()) {
        record["EventTimestamp"] = time;
    }
    if (entry != nullptr) {
        record["Resolution"] = entry->resolution;
    }
    if (!event.origin.empty() && event.origin == webGuiInstance) {
        record["OriginOfCondition"] = linkTo(kWebGui);
    }
    return {{"@odata.type", "#Event.v1_9_3.Event"},
            {"Id", event.id},
            {"Name", "Event"},
            {"Events", Json::array({record})}};
}

} // namespace redfish::model
