// The Redfish event that announces an update.
#include "requests/backend_event.h"

#include "tests/requests/request_test.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

using namespace requests_test;
using doubles::context;
using testing::ElementsAre;
using testing::IsEmpty;

class BackendEvent : public RequestTest {
protected:
    static doubles::RecordedEvent send(const std::string& type = "ResourceUpdated",
                                       const std::string& origin = kInstance, int number = 0,
                                       const std::string& prefix = "WebGUI", int argument = 0) {
        WebGUI_RedfishSendBackendUpdatedEvent(context(), type, origin, number, prefix, argument);
        return doubles::events().back();
    }
};

template <std::size_t Size>
bool isZeroFrom(const char (&field)[Size], std::size_t from) {
    return std::all_of(std::begin(field) + from, std::end(field),
                       [](char letter) { return letter == '\0'; });
}

TEST_F(BackendEvent, CarriesTheTextsOfAnUpdate) {
    const doubles::RecordedEvent event = send();
    EXPECT_EQ(event.source, "Zolan Event");
    EXPECT_EQ(event.kind, 0);
    EXPECT_STREQ(event.record.eventType, "ResourceUpdated");
    EXPECT_STREQ(event.record.kind, "MESSAGE");
    EXPECT_STREQ(event.record.message, "Resource updated");
    EXPECT_STREQ(event.record.messageId, "Orvane.1.0.Msg000");
    EXPECT_EQ(event.record.argumentCount, 1);
    EXPECT_THAT(event.arguments, ElementsAre("WebGUI00"));
    EXPECT_STREQ(event.record.origin, kInstance);
    EXPECT_EQ(output(), "");
}

TEST_F(BackendEvent, IsOneCallWithOneRecord) {
    send();
    EXPECT_THAT(doubles::calls(),
                ElementsAre("osselCreateEventObject(ctx, \"Zolan Event\", 0, "
                            "[{eventType=ResourceUpdated, kind=MESSAGE, message=Resource updated, "
                            "messageId=Orvane.1.0.Msg000, arguments=[WebGUI00], origin=" +
                            std::string(kInstance) + "}], 1)"));
}

TEST_F(BackendEvent, LeavesTheOtherFieldsAndTheRestOfEachTextZero) {
    const OsselEvent& record = send().record;
    EXPECT_TRUE(isZeroFrom(record.reserved0, 0));
    EXPECT_TRUE(isZeroFrom(record.reserved1, 0));
    EXPECT_TRUE(isZeroFrom(record.reserved2, 0));
    EXPECT_TRUE(isZeroFrom(record.eventType, 15));
    EXPECT_TRUE(isZeroFrom(record.kind, 7));
    EXPECT_TRUE(isZeroFrom(record.message, 16));
    EXPECT_TRUE(isZeroFrom(record.messageId, 17));
    EXPECT_TRUE(isZeroFrom(record.origin, 36));
}

// The double copies the record byte by byte and clears only its pointer.
TEST_F(BackendEvent, LeavesEveryOtherByteZeroIncludingPadding) {
    OsselEvent expected;
    std::memset(&expected, 0, sizeof expected);
    std::strcpy(expected.eventType, "ResourceUpdated");
    std::strcpy(expected.kind, "MESSAGE");
    std::strcpy(expected.message, "Resource updated");
    std::strcpy(expected.messageId, "Orvane.1.0.Msg000");
    std::strcpy(expected.origin, kInstance);
    expected.argumentCount = 1;
    const OsselEvent& sent = send().record;
    for (std::size_t i = 0; i < sizeof expected; ++i) {
        EXPECT_EQ(reinterpret_cast<const unsigned char*>(&sent)[i],
                  reinterpret_cast<const unsigned char*>(&expected)[i])
            << "byte " << i;
    }
}

TEST_F(BackendEvent, CutsTheOriginTo36Characters) {
    EXPECT_EQ(send("ResourceUpdated", std::string(40, 'o')).record.origin, std::string(36, 'o'));
}

TEST_F(BackendEvent, CutsTheEventTypeTo255Characters) {
    EXPECT_EQ(send(std::string(300, 't')).record.eventType, std::string(255, 't'));
}

TEST_F(BackendEvent, FormatsTheNumbersInDecimalWithLeadingZeros) {
    hexStream();
    const doubles::RecordedEvent event = send("ResourceUpdated", kInstance, 12, "WebGUI", 3);
    EXPECT_STREQ(event.record.messageId, "Orvane.1.0.Msg012");
    EXPECT_THAT(event.arguments, ElementsAre("WebGUI03"));
    const doubles::RecordedEvent wide = send("ResourceUpdated", kInstance, 1234, "WebGUI", 123);
    EXPECT_STREQ(wide.record.messageId, "Orvane.1.0.Msg1234");
    EXPECT_THAT(wide.arguments, ElementsAre("WebGUI123"));
}

TEST_F(BackendEvent, CutsTheArgumentTo1023Characters) {
    EXPECT_THAT(send("ResourceUpdated", kInstance, 0, std::string(1100, 'p')).arguments,
                ElementsAre(std::string(1023, 'p')));
}

TEST_F(BackendEvent, LogsAFailureAndDoesNotRetry) {
    for (const bool hexadecimal : {false, true}) {
        hexadecimal ? hexStream() : decimalStream();
        doubles::fail("osselCreateEventObject", 4);
        WebGUI_RedfishSendBackendUpdatedEvent(context(), "ResourceUpdated", kInstance, 0, "WebGUI",
                                              0);
        EXPECT_EQ(doubles::calls().size(), 1U);
        EXPECT_EQ(output(),
                  "[WebGUI_RedfishSendBackendUpdatedEvent]: Send Redfish SSE event failed.\n");
    }
    EXPECT_THAT(doubles::events(), IsEmpty());
}

} // namespace
