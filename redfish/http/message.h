// A request and its response as plain records, shared by everything between the parser of
// redfish/server/ and the handlers of redfish/service/. Nothing here reads or writes a socket.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace redfish {

// The methods that the service tells apart; `other` is any method that it never serves.
enum class Method : std::uint8_t { get, head, post, patch, put, remove, options, other };

// The name as it stands in a request line, "DELETE" for `remove`; "" for `other`.
std::string_view nameOf(Method method);

// GET or HEAD: the methods that change nothing.
bool isReading(Method method);

// One request. The views borrow from the connection and stay valid until the response has been
// handed over; whoever needs a text longer copies it. A header that was not sent is empty.
struct Request {
    Method method = Method::get;
    // Percent-decoded, begins with "/", without the query.
    std::string path;
    // As sent, without the question mark.
    std::string query;
    std::string_view authorization;
    // X-Auth-Token, which proves a session.
    std::string_view token;
    std::string_view ifMatch;
    std::string_view ifNoneMatch;
    std::string_view contentType;
    std::string_view accept;
    std::string_view acceptEncoding;
    std::string_view odataVersion;
    std::string_view lastEventId;
    std::string_view body;
    // Numeric address of the client, without its port.
    std::string_view peer;
};

// The content of an event stream, produced piece by piece. The connection owns it while it sends
// and drops it when the client goes. All calls on the loop's thread.
class Feed {
public:
    Feed() = default;
    virtual ~Feed() = default;
    Feed(const Feed&) = delete;
    Feed& operator=(const Feed&) = delete;

    // Removes and returns the next piece of text; null while there is none.
    virtual std::shared_ptr<const std::string> take() = 0;
    // True once nothing more will come: the connection closes when take() returns null.
    virtual bool hasEnded() const = 0;
    // Registers the one listener, called whenever take() or hasEnded() may give something new.
    // An empty function unregisters it.
    virtual void onReady(std::function<void()> ready) = 0;
};

// A body that several responses may share without copying it.
using Text = std::shared_ptr<const std::string>;
// Names and values; the names are literals, since a view is kept.
using Headers = std::vector<std::pair<std::string_view, std::string>>;

// One response. The server adds Date, Content-Type, Content-Length and Connection itself.
struct Response {
    unsigned int status = 200;
    Headers headers;
    // A literal (media_type.h); empty: no content.
    std::string_view contentType;
    // Null: no content.
    Text body;
    // Set instead of `body` where the content is an event stream.
    std::shared_ptr<Feed> feed;
};

// A body that is not shared yet.
inline Text makeText(std::string text) {
    return std::make_shared<const std::string>(std::move(text));
}

// Hands over the response to one request: exactly one call, on the loop's thread, at once or
// later. The request must not be used afterwards.
using Respond = std::function<void(Response)>;

} // namespace redfish
