#include "redfish/model/events.h"

#include <gmock/gmock.h>

namespace {

using redfish::model::eventBody;
using redfish::model::Json;

client::Event updateEvent() {
    return {"1700000000123-0",   "ResourceUpdated", "MESSAGE", "Resource updated",
            "Orvane.1.0.Msg000", {"WebGUI00"},      "key"};
}

TEST(EventBody, CarriesWhatTheProviderSent) {
    const Json body = eventBody(updateEvent(), "key");
    EXPECT_EQ(body["@odata.type"], "#Event.v1_9_3.Event");
    EXPECT_EQ(body["Id"], "1700000000123-0");
    ASSERT_EQ(body["Events"].size(), 1U);
    const Json& record = body["Events"][0];
    EXPECT_EQ(record["EventType"], "ResourceUpdated");
    EXPECT_EQ(record["EventId"], "1700000000123-0");
    EXPECT_EQ(record["EventTimestamp"], "2023-11-14T22:13:20.123Z");
    EXPECT_EQ(record["Message"], "Resource updated");
    EXPECT_EQ(record["MessageId"], "Orvane.1.0.Msg000");
    EXPECT_EQ(record["MessageArgs"], Json::array({"WebGUI00"}));
    EXPECT_EQ(record["MessageSeverity"], "OK");
    EXPECT_EQ(record["OriginOfCondition"]["@odata.id"],
              "/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI");
}

TEST(EventBody, OmitsAnOriginWithoutAnAddress) {
    EXPECT_FALSE(eventBody(updateEvent(), "other")["Events"][0].contains("OriginOfCondition"));
    client::Event event = updateEvent();
    event.origin.clear();
    EXPECT_FALSE(eventBody(event, "")["Events"][0].contains("OriginOfCondition"));
}

TEST(EventBody, CarriesUnknownEvents) {
    const Json record =
        eventBody({"x", "Strange", "", "text", "Other.2.0.X", {}, ""}, "key")["Events"][0];
    EXPECT_EQ(record["EventType"], "Other");
    EXPECT_EQ(record["MessageId"], "Other.2.0.X");
    EXPECT_EQ(record["MessageArgs"], Json::array());
    EXPECT_FALSE(record.contains("EventTimestamp"));
    EXPECT_FALSE(record.contains("Resolution"));
}

} // namespace
