#include "redfish/server/server.h"

#include "tests/support/wait_until.h"

#include <arpa/inet.h>
#include <atomic>
#include <future>
#include <gmock/gmock.h>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

using redfish::Request;
using redfish::Respond;
using redfish::Response;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::StartsWith;

// A plain connection to the server.
class Client {
public:
    explicit Client(std::uint16_t port)
        : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            throw std::runtime_error("cannot connect");
        }
    }
    ~Client() { ::close(socket_); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // False once the server has reset the connection.
    bool send(std::string_view text) const {
        return ::send(socket_, text.data(), text.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(text.size());
    }
    // Receives up to and including `end`, or up to the end of the connection.
    std::string receive(const std::string& end) {
        while (text_.find(end) == std::string::npos && readMore()) {
        }
        const std::size_t at = text_.find(end);
        const std::size_t size = at == std::string::npos ? text_.size() : at + end.size();
        std::string taken = text_.substr(0, size);
        text_.erase(0, size);
        return taken;
    }
    // Whether the server closes within the time.
    bool isClosed(milliseconds limit = milliseconds(10'000)) {
        const auto end = std::chrono::steady_clock::now() + limit;
        while (std::chrono::steady_clock::now() < end) {
            if (!readMore(limit)) {
                return hasEnded_;
            }
        }
        return false;
    }

private:
    bool readMore(milliseconds limit = milliseconds(10'000)) {
        pollfd awaited{.fd = socket_, .events = POLLIN, .revents = 0};
        if (::poll(&awaited, 1, static_cast<int>(limit.count())) != 1) {
            return false;
        }
        std::array<char, 4096> bytes{};
        const ssize_t count = ::recv(socket_, bytes.data(), bytes.size(), 0);
        hasEnded_ = count <= 0;
        text_.append(bytes.data(), hasEnded_ ? 0 : static_cast<std::size_t>(count));
        return !hasEnded_;
    }

    int socket_;
    std::string text_;
    bool hasEnded_ = false;
};

// A stream that a test fills.
class TestFeed : public redfish::Feed {
public:
    redfish::Text take() override {
        if (texts.empty()) {
            return nullptr;
        }
        redfish::Text text = texts.back();
        texts.pop_back();
        return text;
    }
    bool hasEnded() const override { return ended; }
    void onReady(std::function<void()> call) override { ready = std::move(call); }

    std::vector<redfish::Text> texts;
    std::function<void()> ready;
    bool ended = false;
};

class TheServer : public testing::Test {
protected:
    ~TheServer() override { stop(); }

    void start(const redfish::Limits& limits) {
        server = std::make_unique<redfish::Server>(
            redfish::ServerOptions{.address = "127.0.0.1",
                                   .port = 0,
                                   .isClear = true,
                                   .certificate = {},
                                   .key = {},
                                   .limits = limits},
            [](unsigned int status) { return text("refused", status); });
        thread = std::thread([this] {
            server->run([this](const Request& request,
                               const Respond& respond) { handle(request, respond); },
                        false);
        });
    }
    void stop() {
        if (thread.joinable()) {
            server->stop();
            thread.join();
        }
    }
    static Response text(const std::string& body, unsigned int status = 200) {
        return {.status = status,
                .headers = {},
                .contentType = "text/plain",
                .body = redfish::makeText(body),
                .feed = nullptr};
    }
    // "/later" is answered by the test, "/feed" is a stream, anything else gets its own path.
    void handle(const Request& request, const Respond& respond) {
        if (request.path == "/later") {
            const std::lock_guard guard(mutex);
            waiting.push_back(respond);
        } else if (request.path == "/feed") {
            Response response;
            response.contentType = "text/event-stream";
            response.feed = feed;
            respond(std::move(response));
        } else if (request.path == "/large") {
            respond(text(std::string(100'000, 'x') + "end"));
        } else {
            respond(text(request.path + "|" + std::string(request.body) + "!"));
        }
    }
    std::size_t waitingCount() {
        const std::lock_guard guard(mutex);
        return waiting.size();
    }
    Client connect() const { return Client(server->port()); }

    std::shared_ptr<TestFeed> feed = std::make_shared<TestFeed>();
    std::unique_ptr<redfish::Server> server; // outlives the answers
    std::mutex mutex;
    std::vector<Respond> waiting;
    std::thread thread;
};

TEST_F(TheServer, AnswersOneRequestAfterTheOtherOnOneConnection) {
    start({});
    Client client = connect();
    client.send("GET /1 HTTP/1.1\r\n\r\nPOST /2 HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc");
    const std::string first = client.receive("/1|!");
    EXPECT_THAT(first, StartsWith("HTTP/1.1 200 OK\r\nDate: "));
    EXPECT_THAT(first, HasSubstr("Content-Length: 4\r\nConnection: keep-alive\r\n\r\n"));
    EXPECT_THAT(client.receive("!"), HasSubstr("/2|abc!"));
    client.send("HEAD /3 HTTP/1.1\r\n\r\nGET /4 HTTP/1.0\r\n\r\n");
    EXPECT_THAT(client.receive("\r\n\r\n"), HasSubstr("Content-Length: 4\r\n"));
    EXPECT_THAT(client.receive("/4|!"), HasSubstr("Connection: close"));
    EXPECT_TRUE(client.isClosed());
}

TEST_F(TheServer, SendsLargeContentWhole) {
    start({});
    Client client = connect();
    client.send("GET /large HTTP/1.1\r\n\r\n");
    EXPECT_THAT(client.receive("\r\n\r\n"), HasSubstr("Content-Length: 100003"));
    EXPECT_EQ(client.receive("end").size(), 100'003U);
}

TEST_F(TheServer, SendsAResponseThatComesLater) {
    start({});
    Client client = connect();
    client.send("GET /later HTTP/1.1\r\n\r\n");
    ASSERT_TRUE(test::waitUntil([this] { return waitingCount() == 1; }));
    Client other = connect();
    other.send("GET /now HTTP/1.1\r\n\r\n");
    EXPECT_THAT(other.receive("!"), HasSubstr("/now"));
    server->post()([this] { waiting.front()(text("at last!")); });
    EXPECT_THAT(client.receive("!"), HasSubstr("at last!"));
}

TEST_F(TheServer, RefusesWhatItCannotReadAndCloses) {
    start({.headerBytes = 256, .bodyBytes = 16});
    for (const auto& [request, status] :
         {std::pair{std::string("nonsense\r\n\r\n"), "HTTP/1.1 400 "},
          std::pair{"GET / HTTP/1.1\r\nA: " + std::string(400, 'a') + "\r\n\r\n", "HTTP/1.1 431 "},
          std::pair{std::string("POST / HTTP/1.1\r\nContent-Length: 17\r\n\r\n"),
                    "HTTP/1.1 413 "}}) {
        Client client = connect();
        client.send(request);
        EXPECT_THAT(client.receive("refused"), StartsWith(status));
        EXPECT_TRUE(client.isClosed());
    }
}

TEST_F(TheServer, LetsARefusedClientFinishWhatItSays) {
    start({.headerBytes = 256, .bodyBytes = 16});
    Client client = connect();
    client.send("POST / HTTP/1.1\r\nContent-Length: 40000\r\n\r\n");
    EXPECT_THAT(client.receive("refused"), StartsWith("HTTP/1.1 413 "));
    EXPECT_TRUE(client.isClosed()) << "for what comes from the server";
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(client.send(std::string(10'000, 'x'))) << i;
    }
}

TEST_F(TheServer, Sends100ToAClientThatWaitsForIt) {
    start({});
    Client client = connect();
    client.send("POST /p HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 1\r\n\r\n");
    EXPECT_THAT(client.receive("\r\n\r\n"), StartsWith("HTTP/1.1 100 Continue"));
    client.send("x");
    EXPECT_THAT(client.receive("!"), HasSubstr("/p|x!"));
}

TEST_F(TheServer, CutsOffSlowAndIdleClients) {
    start({.request = milliseconds(200), .idle = milliseconds(200)});
    Client late = connect();
    late.send("GET /later HTTP/1.1\r\n\r\n");
    ASSERT_TRUE(test::waitUntil([this] { return waitingCount() == 1; }));
    Client slow = connect();
    slow.send("GET / HT");
    Client idle = connect();
    EXPECT_TRUE(slow.isClosed());
    EXPECT_TRUE(idle.isClosed());
    // It has been there for longer than these two.
    server->post()([this] { waiting.front()(text("answer!")); });
    EXPECT_THAT(late.receive("!"), HasSubstr("answer!")) << "the handler is slow, not the client";
}

TEST_F(TheServer, CutsOffAClientThatDoesNotReadItsResponse) {
    start({.connections = 1, .response = milliseconds(200)});
    Client client = connect();
    // More than the buffers of both sides can hold.
    for (int i = 0; i < 200; ++i) {
        client.send("GET /large HTTP/1.1\r\n\r\n");
    }
    ASSERT_TRUE(test::waitUntil([this] {
        Client other = connect();
        other.send("GET /1 HTTP/1.1\r\n\r\n");
        return !other.receive("!").empty();
    })) << "no room for another one: it is not cut off";
    std::size_t received = 0;
    for (std::string piece = client.receive("end"); !piece.empty(); piece = client.receive("end")) {
        received += piece.size();
    }
    EXPECT_LT(received, 200U * 100'000U);
}

TEST_F(TheServer, LimitsConnectionsAndRequests) {
    start({.connections = 2, .requestsPerSecond = 0.001, .burst = 2});
    Client one = connect();
    one.send("GET /1 HTTP/1.1\r\n\r\n");
    one.receive("!");
    Client two = connect();
    two.send("GET /2 HTTP/1.1\r\n\r\n");
    two.receive("!");
    Client third = connect();
    EXPECT_TRUE(third.isClosed());
    one.send("GET /3 HTTP/1.1\r\n\r\n");
    const std::string refused = one.receive("refused");
    EXPECT_THAT(refused, StartsWith("HTTP/1.1 429 "));
    EXPECT_THAT(refused, HasSubstr("Retry-After: 1\r\n"));
}

TEST_F(TheServer, StreamsWhatAFeedGivesAndKeepsItAlive) {
    start({.keepAlive = milliseconds(50)});
    feed->texts = {redfish::makeText("data: 2\n\n"), redfish::makeText("data: 1\n\n")};
    Client client = connect();
    client.send("GET /feed HTTP/1.1\r\n\r\n");
    EXPECT_THAT(client.receive("\r\n\r\n"), testing::Not(HasSubstr("Content-Length")));
    EXPECT_EQ(client.receive("data: 2\n\n"), "data: 1\n\ndata: 2\n\n");
    EXPECT_EQ(client.receive(":\n\n"), ":\n\n");
    server->post()([this] {
        feed->texts = {redfish::makeText("data: 3\n\n")};
        feed->ready();
    });
    EXPECT_THAT(client.receive("data: 3\n\n"), testing::EndsWith("data: 3\n\n"));
    server->post()([this] {
        feed->ended = true;
        feed->ready();
    });
    EXPECT_TRUE(client.isClosed());
}

TEST_F(TheServer, NoticesThatTheReaderOfAStreamHasGone) {
    start({});
    {
        Client client = connect();
        client.send("GET /feed HTTP/1.1\r\n\r\n");
        client.receive("\r\n\r\n");
    }
    EXPECT_TRUE(test::waitUntil([this] {
        std::promise<bool> listens;
        server->post()([&] { listens.set_value(feed->ready != nullptr); });
        return !listens.get_future().get();
    }));
}

TEST_F(TheServer, FinishesWhatIsUnderWayWhenItStops) {
    start({});
    Client idle = connect();
    idle.send("GET /1 HTTP/1.1\r\n\r\n");
    idle.receive("!");
    Client busy = connect();
    busy.send("GET /later HTTP/1.1\r\n\r\n");
    ASSERT_TRUE(test::waitUntil([this] { return waitingCount() == 1; }));
    server->stop();
    EXPECT_TRUE(idle.isClosed());
    server->post()([this] { waiting.front()(text("done!")); });
    EXPECT_THAT(busy.receive("!"), HasSubstr("Connection: close"));
    EXPECT_TRUE(busy.isClosed());
    thread.join();
}

TEST_F(TheServer, WaitsForNoResponseForeverWhenItStops) {
    start({.farewell = milliseconds(100)});
    Client busy = connect();
    busy.send("GET /later HTTP/1.1\r\n\r\n");
    ASSERT_TRUE(test::waitUntil([this] { return waitingCount() == 1; }));
    server->stop();
    thread.join();
    EXPECT_TRUE(busy.isClosed());
}

TEST(AServer, NamesTheAddressThatIsInUseAndWhatToDo) {
    const auto errors = [](unsigned int) { return Response{}; };
    const redfish::Server first({.address = "127.0.0.1", .port = 0, .isClear = true}, errors);
    try {
        const redfish::Server second(
            {.address = "127.0.0.1", .port = first.port(), .isClear = true}, errors);
        FAIL() << "two servers on one port";
    } catch (const std::exception& error) {
        EXPECT_EQ(std::string(error.what()),
                  "cannot listen on 127.0.0.1:" + std::to_string(first.port()) +
                      ": already in use; stop the other server or choose another --port");
    }
}

TEST(AServer, NamesTheFileThatItCannotUse) {
    try {
        const redfish::Server server({.address = "127.0.0.1",
                                      .port = 0,
                                      .isClear = false,
                                      .certificate = "/none.pem",
                                      .key = "/none.pem"},
                                     [](unsigned int) { return Response{}; });
        FAIL() << "served without a certificate";
    } catch (const std::exception& error) {
        EXPECT_THAT(error.what(), StartsWith("/none.pem: cannot be used ("));
    }
}

TEST(AServer, ServesClearTextOnLoopbackOnly) {
    EXPECT_THROW(redfish::Server({.address = "0.0.0.0", .port = 0, .isClear = true},
                                 [](unsigned int) { return Response{}; }),
                 std::exception);
    EXPECT_THROW(redfish::Server({.address = "127.0.0.1",
                                  .port = 0,
                                  .isClear = false,
                                  .certificate = "/none.pem",
                                  .key = "/none.pem"},
                                 [](unsigned int) { return Response{}; }),
                 std::exception);
}

} // namespace
