// The coroutine of one connection: handshake, then one request after the other, each step within
// its time.
#include "redfish/server/connection.h"

#include "redfish/http/target.h"
#include "redfish/server/request_reader.h"
#include "redfish/server/response_head.h"

#include <array>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/basic_waitable_timer.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <type_traits>

namespace redfish {

namespace {

namespace asio = boost::asio;
using boost::system::error_code;
using TlsStream = asio::ssl::stream<Socket>;
using Timer = asio::basic_waitable_timer<std::chrono::steady_clock,
                                         asio::wait_traits<std::chrono::steady_clock>, Executor>;
template <typename T>
using Awaitable = asio::awaitable<T, Executor>;

constexpr auto kAwait = asio::as_tuple(asio::use_awaitable_t<Executor>{});

// Up to this size head and body go out together, in one TLS record.
constexpr std::size_t kJoined = 16'384;
constexpr std::chrono::seconds kGoodbye{1};
// Of a refused request: more than a client sends before it looks for an answer.
constexpr std::size_t kMaxDiscarded = 1'048'576;
constexpr std::string_view kKeepAliveComment = ":\n\n";
constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

// A response that may arrive before anybody waits for it, or after everybody has left.
struct Awaited {
    explicit Awaited(asio::io_context& io) : timer(io.get_executor(), Timer::time_point::max()) {}
    std::optional<Response> response;
    Timer timer;
};

// Meant: co_await never in a condition nor behind && or ||; GCC 12 generates wrong code for it.
template <typename Stream>
class StreamConnection : public Connection,
                         public std::enable_shared_from_this<StreamConnection<Stream>> {
public:
    StreamConnection(ConnectionContext& context, Stream stream, std::string peer,
                     std::unique_ptr<AddressTable::Visitor> visitor)
        : context_(context), stream_(std::move(stream)), peer_(std::move(peer)),
          visitor_(std::move(visitor)), wake_(context.io.get_executor(), Timer::time_point::max()) {
        place_ = context_.open.insert(context_.open.end(), this);
    }
    ~StreamConnection() override {
        context_.open.erase(place_);
        visitor_.reset();
        context_.onEnd();
    }
    StreamConnection(const StreamConnection&) = delete;
    StreamConnection& operator=(const StreamConnection&) = delete;

    void close() override {
        error_code ignored;
        stream_.lowest_layer().close(ignored);
        isGone_ = true;
        wake_.cancel();
    }
    void finish() override {
        isFinishing_ = true;
        if (!isBusy_) {
            close();
        }
        wake_.cancel();
    }

    // `self` keeps the connection alive while the coroutine runs.
    Awaitable<void> run([[maybe_unused]] std::shared_ptr<StreamConnection> self) {
        bool goesOn = co_await shakeHands();
        const bool isOpen = goesOn;
        while (goesOn) {
            goesOn = co_await serveOne();
            goesOn = goesOn && !isGone_;
        }
        if (isOpen && !isGone_) {
            co_await sayGoodbye();
        }
        close();
    }

private:
    static constexpr bool kIsTls = std::is_same_v<Stream, TlsStream>;

    Awaitable<bool> shakeHands() {
        allow(context_.limits.handshake);
        error_code failure;
        if constexpr (kIsTls) {
            const auto [result] =
                co_await stream_.async_handshake(asio::ssl::stream_base::server, kAwait);
            failure = result;
        }
        co_return !failure;
    }

    Awaitable<void> sayGoodbye() {
        allow(kGoodbye);
        if constexpr (kIsTls) {
            [[maybe_unused]] const auto [ignored] = co_await stream_.async_shutdown(kAwait);
        }
        co_return;
    }

    // Closed with input unread, the system would reset the connection, and the client might lose
    // the answer. So what a refused request goes on to say is read, until the client is done or has
    // had its time.
    Awaitable<void> discardInput() {
        if constexpr (!kIsTls) {
            error_code ignored;
            stream_.shutdown(Socket::shutdown_send, ignored);
        }
        allow(kGoodbye);
        std::array<char, 4096> waste{};
        std::size_t sum = 0;
        while (sum < kMaxDiscarded) {
            const auto [failure, count] =
                co_await stream_.async_read_some(asio::buffer(waste), kAwait);
            if (failure) {
                break;
            }
            sum += count;
        }
    }

    // False if the connection must close.
    Awaitable<bool> serveOne() {
        RequestReader reader(buffer_, context_.limits.headerBytes, context_.limits.bodyBytes);
        isBusy_ = false;
        if (isFinishing_) {
            co_return false;
        }
        const bool hasRead = co_await readInto(reader);
        if (!hasRead) {
            co_return false;
        }
        isBusy_ = true;
        if (reader.failedStatus() != 0) {
            Response response = context_.errors(reader.failedStatus());
            const bool isSent = co_await respond(response, false, false);
            if (isSent) {
                co_await discardInput();
            }
            co_return false;
        }
        Request request = reader.request();
        request.peer = peer_;
        const bool keeps = reader.keepsConnection();
        Response response = co_await answer(request);
        const bool staysOpen = keeps && !isFinishing_ && !response.feed;
        const bool isSent = co_await respond(response, staysOpen, request.method == Method::head);
        if (!isSent) {
            co_return false;
        }
        if (response.feed && request.method != Method::head) {
            co_await stream(*response.feed);
            isGone_ = true; // the end of the connection ends the body
        }
        co_return staysOpen;
    }

    // False if the client has gone or was too slow.
    Awaitable<bool> readInto(RequestReader& reader) {
        allow(buffer_.size() == 0 ? context_.limits.idle : context_.limits.request);
        bool hasBegun = buffer_.size() > 0;
        while (true) {
            if (reader.parse()) {
                co_return true;
            }
            if (reader.wantsContinue()) {
                const auto [failure, sent] =
                    co_await asio::async_write(stream_, asio::buffer(kContinue), kAwait);
                if (failure) {
                    co_return false;
                }
            }
            const std::span<char> space = reader.space();
            const auto [failure, count] =
                co_await stream_.async_read_some(asio::buffer(space.data(), space.size()), kAwait);
            if (failure) {
                co_return false;
            }
            reader.add(count);
            if (!hasBegun) {
                hasBegun = true;
                allow(context_.limits.request);
            }
        }
    }

    Awaitable<Response> answer(const Request& request) {
        if (!visitor_->mayAsk(Clock::now())) {
            Response response = context_.errors(429);
            response.headers.emplace_back("Retry-After", "1");
            co_return response;
        }
        allowForever(); // the handler has time-outs of its own
        const auto awaited = std::make_shared<Awaited>(context_.io);
        context_.handler(request, [awaited](Response response) {
            awaited->response = std::move(response);
            awaited->timer.cancel();
        });
        while (!awaited->response) {
            [[maybe_unused]] const auto [ignored] = co_await awaited->timer.async_wait(kAwait);
        }
        co_return std::move(*awaited->response);
    }

    Awaitable<bool> respond(const Response& response, bool staysOpen, bool isHeadOnly) {
        allow(context_.limits.response);
        head_.clear();
        appendHead(head_, response, staysOpen, std::chrono::system_clock::now());
        const bool hasBody = response.body && !isHeadOnly && response.status != 304;
        if (hasBody && response.body->size() <= kJoined) {
            head_ += *response.body;
        }
        bool isSent = co_await writeAll(head_);
        if (isSent && hasBody && response.body->size() > kJoined) {
            isSent = co_await writeAll(*response.body);
        }
        co_return isSent;
    }

    Awaitable<bool> writeAll(std::string_view text) {
        const auto [failure, count] =
            co_await asio::async_write(stream_, asio::buffer(text), kAwait);
        co_return !failure;
    }

    // Sends what the feed gives until the feed ends, the client goes, or it takes too long.
    Awaitable<void> stream(Feed& feed) {
        watchForEnd();
        feed.onReady([self = this->weak_from_this()] {
            if (const auto connection = self.lock()) {
                connection->wake_.cancel();
            }
        });
        while (!isGone_ && !isFinishing_) {
            const Text text = feed.take();
            if (text) {
                allow(context_.limits.response);
                const bool isSent = co_await writeAll(*text);
                isGone_ = isGone_ || !isSent;
                continue;
            }
            if (feed.hasEnded()) {
                break;
            }
            allowForever();
            wake_.expires_after(context_.limits.keepAlive);
            const auto [wokenUp] = co_await wake_.async_wait(kAwait);
            if (!wokenUp && !isGone_) {
                allow(context_.limits.response);
                const bool isSent = co_await writeAll(kKeepAliveComment);
                isGone_ = isGone_ || !isSent;
            }
        }
        feed.onReady({});
    }

    // The client of an event stream has nothing more to send: any input ends the stream.
    void watchForEnd() {
        stream_.async_read_some(asio::buffer(rest_),
                                [self = this->shared_from_this()](error_code, std::size_t) {
                                    self->isGone_ = true;
                                    self->wake_.cancel();
                                });
    }

    ConnectionContext& context_;
    Stream stream_;
    std::string peer_;
    std::unique_ptr<AddressTable::Visitor> visitor_;
    Timer wake_;
    std::list<Connection*>::iterator place_;
    ReadBuffer buffer_;
    std::string head_;
    std::array<char, 1> rest_{};
    bool isBusy_ = false;
    bool isFinishing_ = false;
    bool isGone_ = false;
};

template <typename Stream>
void start(ConnectionContext& context, Stream stream, std::string peer,
           std::unique_ptr<AddressTable::Visitor> visitor) {
    auto connection = std::make_shared<StreamConnection<Stream>>(
        context, std::move(stream), std::move(peer), std::move(visitor));
    StreamConnection<Stream>* const running = connection.get();
    asio::co_spawn(context.io.get_executor(), running->run(std::move(connection)), asio::detached);
}

} // namespace

void startConnection(ConnectionContext& context, Socket socket, std::string peer,
                     std::unique_ptr<AddressTable::Visitor> visitor, asio::ssl::context* tls) {
    if (tls != nullptr) {
        start(context, TlsStream(std::move(socket), *tls), std::move(peer), std::move(visitor));
    } else {
        start(context, std::move(socket), std::move(peer), std::move(visitor));
    }
}

} // namespace redfish
