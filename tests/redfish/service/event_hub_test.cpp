#include "redfish/service/event_hub.h"

#include <gmock/gmock.h>

namespace {

using redfish::EventFilter;
using redfish::EventHub;
using redfish::EventId;
using redfish::Feed;
using testing::ElementsAre;
using testing::HasSubstr;

class TheEventHub : public testing::Test {
protected:
    static client::Event event(const std::string& id, const std::string& type = "ResourceUpdated") {
        client::Event made;
        made.id = id;
        made.eventType = type;
        made.messageId = "Orvane.1.0.Msg000";
        made.origin = "instance";
        return made;
    }
    void publish(const std::string& id, bool isOld = false) {
        hub.publish({event(id)}, isOld, "instance");
    }
    std::shared_ptr<Feed> open(const std::string& filter = {},
                               const std::optional<EventId>& since = {},
                               const std::string& user = "admin") {
        std::shared_ptr<Feed> feed =
            hub.open({.user = user, .sessionId = {}, .filter = *EventFilter::parse(filter)}, since);
        EXPECT_THAT(*feed->take(), HasSubstr(": ")) << "it begins with a comment";
        return feed;
    }
    // Takes all events from a feed and returns their ids.
    static std::vector<std::string> ids(Feed& feed) {
        std::vector<std::string> list;
        while (const redfish::Text text = feed.take()) {
            EXPECT_THAT(*text, testing::StartsWith("id: "));
            EXPECT_THAT(*text, testing::EndsWith("}\n\n"));
            list.push_back(text->substr(4, text->find('\n') - 4));
        }
        return list;
    }

    bool mayStay = true;
    EventHub hub{
        {.streams = 3, .queued = 4, .remembered = 5},
        [this](const EventHub::Listener& each) { return mayStay || each.user != "admin"; }};
};

TEST_F(TheEventHub, SendsEachEventToAllListeners) {
    publish("1-0");
    const auto one = open();
    const auto other = open();
    int ready = 0;
    one->onReady([&ready] { ++ready; });
    publish("2-0");
    EXPECT_EQ(ready, 1);
    EXPECT_THAT(ids(*one), ElementsAre("2-0"));
    EXPECT_THAT(ids(*other), ElementsAre("2-0"));
    EXPECT_FALSE(one->hasEnded());
}

TEST_F(TheEventHub, SendsEventsSinceAnIdFirst) {
    publish("9-0", true);
    publish("10-0");
    publish("10-2");
    EXPECT_THAT(ids(*open({}, EventId{.milliseconds = 9, .number = 0})),
                ElementsAre("10-0", "10-2"));
    EXPECT_THAT(ids(*open({}, EventId{.milliseconds = 10, .number = 1})), ElementsAre("10-2"));
    EXPECT_THAT(ids(*open({}, EventId{})), ElementsAre("9-0", "10-0", "10-2"));
}

TEST_F(TheEventHub, RemembersTheNewestOnly) {
    for (int i = 1; i <= 8; ++i) {
        publish(std::to_string(i) + "-0");
    }
    EXPECT_THAT(ids(*open({}, EventId{})), ElementsAre("4-0", "5-0", "6-0", "7-0", "8-0"));
}

TEST_F(TheEventHub, SendsOldEventsToNobody) {
    const auto feed = open();
    publish("1-0", true);
    EXPECT_THAT(ids(*feed), ElementsAre());
}

TEST_F(TheEventHub, FiltersForEach) {
    const auto updates =
        open("OriginResource eq '/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI'");
    const auto alerts = open("EventType eq 'Alert'", EventId{});
    publish("1-0");
    EXPECT_THAT(ids(*updates), ElementsAre("1-0"));
    EXPECT_THAT(ids(*alerts), ElementsAre());
    hub.publish({event("2-0", "Alert")}, false, "instance");
    EXPECT_THAT(ids(*alerts), ElementsAre("2-0"));
}

TEST_F(TheEventHub, CutsOffSlowListeners) {
    const auto slow = open({}, EventId{});
    const auto quick = open();
    for (int i = 1; i <= 5; ++i) {
        publish(std::to_string(i) + "-0");
        ids(*quick);
    }
    EXPECT_TRUE(slow->hasEnded());
    EXPECT_EQ(slow->take(), nullptr);
    EXPECT_FALSE(quick->hasEnded());
}

TEST_F(TheEventHub, EndsStreamsOfListenersThatMayNotStay) {
    const auto admins = open();
    const auto others = open({}, {}, "other");
    mayStay = false;
    publish("1-0");
    EXPECT_TRUE(admins->hasEnded());
    EXPECT_THAT(ids(*others), ElementsAre("1-0"));
}

TEST_F(TheEventHub, LimitsStreamsAndForgetsThoseThatEnded) {
    const auto one = open();
    const auto two = open();
    auto three = open();
    EXPECT_EQ(hub.open({}, {}), nullptr);
    three.reset();
    EXPECT_EQ(hub.streams(), 2U);
    EXPECT_NE(hub.open({}, {}), nullptr);
}

TEST(AnEventId, IsReadAndOrderedByNumbers) {
    EXPECT_TRUE(*EventId::parse("9-5") < *EventId::parse("10-0"));
    EXPECT_TRUE(*EventId::parse("10-9") < *EventId::parse("10-10"));
    EXPECT_TRUE(*EventId::parse("7") == *EventId::parse("7-0"));
    for (const char* const bad : {"", "-", "a", "1-", "1-a", "1-2-3", "1 ", "-1"}) {
        EXPECT_FALSE(EventId::parse(bad)) << bad;
    }
}

} // namespace
