#include "redfish/service/event_handlers.h"

#include "redfish/model/addresses.h"
#include "tests/redfish/service/handlers_fixture.h"

namespace {

using redfish::Method;
using redfish::Request;
using redfish::Response;
using testing::HasSubstr;

class TheEventHandlers : public test::HandlersFixture {
protected:
    Response open(const std::string& query = {}, std::string_view lastEventId = {},
                  Method method = Method::get) {
        Request request;
        request.query = query;
        request.lastEventId = lastEventId;
        Response response = ask(handlers.routes(), method,
                                std::string(redfish::model::kEventStream), as("looker"), request);
        if (response.feed) {
            response.feed->take(); // the greeting
        }
        return response;
    }
    void publish(const std::string& id, const std::string& type = "ResourceUpdated") {
        client::Event event;
        event.id = id;
        event.eventType = type;
        event.messageId = "Orvane.1.0.Msg000";
        hub.publish({event}, false, "instance");
    }

    redfish::EventHub hub{{.streams = 2, .queued = 4, .remembered = 8},
                          [](const redfish::EventHub::Listener&) { return true; }};
    redfish::EventHandlers handlers{hub};
};

TEST_F(TheEventHandlers, OpenAStreamOfWhatComes) {
    publish("1-0");
    const Response response = open();
    EXPECT_EQ(response.status, 200U);
    EXPECT_EQ(response.contentType, "text/event-stream; charset=utf-8");
    ASSERT_NE(response.feed, nullptr);
    EXPECT_EQ(response.feed->take(), nullptr);
    publish("2-0");
    EXPECT_THAT(*response.feed->take(), HasSubstr("id: 2-0\n"));
}

TEST_F(TheEventHandlers, FilterAndResume) {
    publish("1-0");
    publish("2-0", "Alert");
    publish("3-0");
    const Response response = open("$filter=EventType%20eq%20'ResourceUpdated'", "1-0");
    ASSERT_NE(response.feed, nullptr);
    EXPECT_THAT(*response.feed->take(), HasSubstr("id: 3-0\n"));
    EXPECT_EQ(response.feed->take(), nullptr);
}

TEST_F(TheEventHandlers, OpenNoStreamForHead) {
    const Response response = open({}, {}, Method::head);
    EXPECT_EQ(response.status, 200U);
    EXPECT_EQ(response.feed, nullptr);
    EXPECT_EQ(hub.streams(), 0U);
}

TEST_F(TheEventHandlers, RefuseWhatTheyCannotRead) {
    EXPECT_EQ(test::messageOf(open("$filter=nonsense")), "QueryParameterValueFormatError");
    EXPECT_EQ(test::messageOf(open("a=%zz")), "QueryParameterValueFormatError");
    EXPECT_EQ(test::messageOf(open("$select=Id")), "QueryParameterUnsupported");
    EXPECT_EQ(test::messageOf(open({}, "x")), "HeaderInvalid");
    EXPECT_EQ(open("other=1").status, 200U) << "not a parameter of the protocol";
}

TEST_F(TheEventHandlers, RefuseAStreamTooMany) {
    const Response one = open();
    const Response two = open();
    const Response three = open();
    EXPECT_EQ(three.status, 503U);
    EXPECT_EQ(test::messageOf(three), "EventSubscriptionLimitExceeded");
}

} // namespace
