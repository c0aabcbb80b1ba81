#include "redfish/server/request_reader.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

using redfish::Method;
using redfish::ReadBuffer;
using redfish::Request;
using redfish::RequestReader;

constexpr std::size_t kHeader = 512;
constexpr std::size_t kBody = 16;

void put(ReadBuffer& buffer, std::string_view text) {
    const auto space = buffer.prepare(text.size());
    std::memcpy(space.data(), text.data(), text.size());
    buffer.commit(text.size());
}

// The status of a request that has arrived as a whole; -1: incomplete.
int statusOf(const std::string& text) {
    ReadBuffer buffer;
    RequestReader reader(buffer, kHeader, kBody);
    put(buffer, text);
    return reader.parse() ? static_cast<int>(reader.failedStatus()) : -1;
}

TEST(ARequestReader, GivesWhatWasSent) {
    ReadBuffer buffer;
    RequestReader reader(buffer, kHeader, kBody);
    put(buffer,
        "PATCH /a%20b?$select=c HTTP/1.1\r\nHost: x\r\nx-auth-TOKEN: t\r\nIf-Match: \"e\"\r\n"
        "Content-Type: application/json\r\nAuthorization: Basic x\r\nOData-Version: 4.0\r\n"
        "Last-Event-ID: 1-0\r\nIf-None-Match: *\r\nAccept: */*\r\nContent-Length: 2\r\n\r\n{}");
    ASSERT_TRUE(reader.parse());
    EXPECT_EQ(reader.failedStatus(), 0U);
    const Request request = reader.request();
    EXPECT_EQ(request.method, Method::patch);
    EXPECT_EQ(request.path, "/a b");
    EXPECT_EQ(request.query, "$select=c");
    EXPECT_EQ(request.token, "t");
    EXPECT_EQ(request.ifMatch, "\"e\"");
    EXPECT_EQ(request.ifNoneMatch, "*");
    EXPECT_EQ(request.contentType, "application/json");
    EXPECT_EQ(request.authorization, "Basic x");
    EXPECT_EQ(request.odataVersion, "4.0");
    EXPECT_EQ(request.lastEventId, "1-0");
    EXPECT_EQ(request.accept, "*/*");
    EXPECT_EQ(request.body, "{}");
    EXPECT_TRUE(reader.keepsConnection());
}

TEST(ARequestReader, TakesARequestInSmallPieces) {
    const std::string text =
        "POST /a HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n";
    ReadBuffer buffer;
    RequestReader reader(buffer, kHeader, kBody);
    for (std::size_t i = 0; i < text.size(); ++i) {
        EXPECT_FALSE(reader.parse()) << i;
        put(buffer, text.substr(i, 1));
    }
    ASSERT_TRUE(reader.parse());
    EXPECT_EQ(reader.request().body, "abc");
}

TEST(ARequestReader, LeavesTheNextRequestInTheBuffer) {
    ReadBuffer buffer;
    put(buffer, "GET /1 HTTP/1.1\r\n\r\nGET /2 HTTP/1.0\r\n\r\nGET");
    for (const std::string path : {"/1", "/2"}) {
        RequestReader reader(buffer, kHeader, kBody);
        ASSERT_TRUE(reader.parse());
        EXPECT_EQ(reader.request().path, path);
        EXPECT_EQ(reader.keepsConnection(), path == "/1") << "the older version closes";
    }
    RequestReader reader(buffer, kHeader, kBody);
    EXPECT_FALSE(reader.parse());
}

TEST(ARequestReader, RefusesWhatIsTooLarge) {
    EXPECT_EQ(statusOf("GET / HTTP/1.1\r\nA: " + std::string(kHeader, 'a') + "\r\n\r\n"), 431);
    EXPECT_EQ(statusOf("GET / HTTP/1.1\r\nA: " + std::string(kHeader, 'a')), 431)
        << "before its end has arrived";
    EXPECT_EQ(statusOf("GET /" + std::string(2 * kHeader, 'a')), 431);
    EXPECT_EQ(statusOf("POST / HTTP/1.1\r\nContent-Length: 17\r\n\r\n"), 413);
    EXPECT_EQ(statusOf("POST / HTTP/1.1\r\nContent-Length: 16\r\n\r\n" + std::string(16, 'a')), 0);
    EXPECT_EQ(statusOf("POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n11\r\n" +
                       std::string(17, 'a') + "\r\n0\r\n\r\n"),
              413);
}

TEST(ARequestReader, RefusesTextThatIsNotARequest) {
    for (const char* const text :
         {"\x16\x03\x01\x02", "GET\r\n\r\n", "GET / HTTP/2.0\r\n\r\n",
          "GET / HTTP/1.1\r\nA\r\n\r\n", "GET relative HTTP/1.1\r\n\r\n",
          "GET /%00 HTTP/1.1\r\n\r\n", "GET /a/../b HTTP/1.1\r\n\r\n",
          "POST / HTTP/1.1\r\nContent-Length: x\r\n\r\n",
          "POST / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n"}) {
        EXPECT_EQ(statusOf(text), 400) << text;
    }
}

TEST(ARequestReader, ReportsOnceThatTheClientWaitsToSendItsBody) {
    ReadBuffer buffer;
    RequestReader reader(buffer, kHeader, kBody);
    put(buffer, "POST / HTTP/1.1\r\nExpect: 100-continue\r\n");
    EXPECT_FALSE(reader.parse());
    EXPECT_FALSE(reader.wantsContinue()) << "the header has not ended";
    put(buffer, "Content-Length: 1\r\n\r\n");
    EXPECT_FALSE(reader.parse());
    EXPECT_TRUE(reader.wantsContinue());
    EXPECT_FALSE(reader.wantsContinue());
    put(buffer, "x");
    EXPECT_TRUE(reader.parse());
}

} // namespace
