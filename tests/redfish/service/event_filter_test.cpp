#include "redfish/service/event_filter.h"

#include <gtest/gtest.h>

namespace {

using redfish::EventFilter;
using redfish::EventTraits;

const EventTraits kUpdate{.messageId = "Orvane.1.0.Msg000",
                          .registryPrefix = "Orvane",
                          .originResource = "/redfish/v1/WebGUI",
                          .eventType = "ResourceUpdated",
                          .resourceType = "OrvaneWebGUI"};

TEST(AnEventFilter, TakesMatchingEvents) {
    for (const char* const text :
         {"", "MessageId eq 'Orvane.1.0.Msg000'", "MessageId eq Orvane.1.0.Msg000",
          "RegistryPrefix ne 'Base'", "OriginResource eq '/redfish/v1/WebGUI'",
          "EventFormatType eq Event", "ResourceType eq 'OrvaneWebGUI'",
          "not (EventType eq 'Alert')", "not EventType eq 'Alert'",
          "EventType eq 'Alert' or RegistryPrefix eq 'Orvane'",
          "EventType eq 'ResourceUpdated' and RegistryPrefix eq 'Orvane'",
          // "and" binds tighter than "or".
          "RegistryPrefix eq 'Orvane' or EventType eq 'Alert' and EventType eq 'Alert'",
          "  ( (RegistryPrefix eq 'Orvane') )  "}) {
        const auto filter = EventFilter::parse(text);
        ASSERT_TRUE(filter) << text;
        EXPECT_TRUE(filter->takes(kUpdate)) << text;
    }
}

TEST(AnEventFilter, RejectsOtherEvents) {
    for (const char* const text :
         {"MessageId eq 'Orvane.1.0.Msg0001'", "RegistryPrefix ne 'Orvane'",
          "EventFormatType eq MetricReport", "not (RegistryPrefix eq 'Orvane')",
          "EventType eq 'Alert' and RegistryPrefix eq 'Orvane'",
          "(RegistryPrefix eq 'Orvane' or EventType eq 'Alert') and EventType eq 'Alert'",
          "OriginResource eq ''"}) {
        const auto filter = EventFilter::parse(text);
        ASSERT_TRUE(filter) << text;
        EXPECT_FALSE(filter->takes(kUpdate)) << text;
    }
}

TEST(AnEventFilter, ReadsAQuoteWithinQuotes) {
    EventTraits traits;
    traits.eventType = "it's";
    EXPECT_TRUE(EventFilter::parse("EventType eq 'it''s'")->takes(traits));
}

TEST(AnEventFilter, IsRefusedIfItCannotBeParsed) {
    for (const char* const text :
         {" ", "MessageId", "MessageId eq", "MessageId gt 'a'", "Severity eq 'OK'",
          "MessageId eq 'a' or", "MessageId eq 'a' MessageId eq 'b'", "(MessageId eq 'a'",
          "MessageId eq 'a')", "MessageId eq 'a", "not", "and"}) {
        EXPECT_FALSE(EventFilter::parse(text)) << text;
    }
    EXPECT_FALSE(EventFilter::parse(std::string(100, '(') + "EventType eq 'a'"));
    EXPECT_FALSE(EventFilter::parse("EventType eq '" + std::string(2000, 'a') + "'"));
}

} // namespace
